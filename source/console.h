#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>

namespace integrity_check_tool {

/// Console levels: results, failures, details shown only when verbose.
inline constexpr std::uint32_t kConsoleResult = 0;
inline constexpr std::uint32_t kConsoleFailure = 1;
inline constexpr std::uint32_t kConsoleDetail = 2;

/// The lines a user of the tool reads.
class IConsole {
public:
    virtual ~IConsole() = default;
    /// Writes `text` unchanged at `level` and flushes; unknown levels are dropped.
    virtual void Write(std::uint32_t level, const std::string& text) = 0;
    /// False when Write drops `level`, so callers can skip making the text.
    virtual bool IsShown(std::uint32_t level) const { return level <= kConsoleDetail; }
};
using IConsolePtr = std::shared_ptr<IConsole>;

class Console final : public IConsole {
public:
    Console(bool verbose, std::ostream& output, std::ostream& error);

    void Write(std::uint32_t level, const std::string& text) override;
    bool IsShown(std::uint32_t level) const override;

private:
    bool verbose_;
    std::ostream& output_;
    std::ostream& error_;
};

}  // namespace integrity_check_tool
