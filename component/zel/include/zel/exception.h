#pragma once

#include <exception>
#include <string>

#include "zel/result.h"

namespace zel {

/// Failure of a framework call: the negative result code and the source
/// location of the call that produced it.
class Exception : public std::exception {
public:
    Exception(Result result, const char* file, int line);

    Result GetResult() const noexcept { return result_; }
    const char* GetFile() const noexcept { return file_; }
    int GetLine() const noexcept { return line_; }

    /// Human-readable text: code, its meaning and the source location.
    const std::string& DisplayText() const noexcept { return text_; }
    const char* what() const noexcept override { return text_.c_str(); }

private:
    Result result_;
    const char* file_;
    int line_;
    std::string text_;
};

/// Throws zel::Exception for a negative result code.
inline void ThrowIfFailed(Result result, const char* file, int line)
{
    if (Failed(result)) {
        throw Exception(result, file, line);
    }
}

}  // namespace zel

/// Evaluates a framework call and throws on a negative result, recording
/// the caller's source location.
#define ZEL_CHECK(expr) ::zel::ThrowIfFailed((expr), __FILE__, __LINE__)
