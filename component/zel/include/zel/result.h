#pragma once

#include <cstdint>
#include <string>

namespace zel {

/// Result code of a framework call: negative is a failure, 0 success,
/// positive a successful call with a qualified answer.
using Result = std::int32_t;

inline constexpr Result kOk = 0;
/// Success, but the answer is "no" (for example: not everything expanded).
inline constexpr Result kFalse = 1;

inline constexpr Result kFail = -1;
inline constexpr Result kInvalidArgument = -2;
inline constexpr Result kNotImplemented = -3;
inline constexpr Result kOutOfMemory = -4;
inline constexpr Result kUnexpectedEnd = -5;
inline constexpr Result kNotRegularFile = -6;
inline constexpr Result kTooLarge = -7;
/// procfs, sysfs and the like: sizes there say nothing of what reading yields.
inline constexpr Result kPseudoFile = -8;
/// More bytes than the file held when it was opened.
inline constexpr Result kChangedWhileRead = -9;

/// System errors travel as kSystemErrorBase - errno.
inline constexpr Result kSystemErrorBase = -0x10000;

constexpr bool Failed(Result result) noexcept
{
    return result < 0;
}
constexpr bool Succeeded(Result result) noexcept
{
    return result >= 0;
}

/// Returns the result code for a system error number.
Result ResultFromErrno(int error) noexcept;

/// Returns a readable text for a result code ("No such file or directory").
std::string ResultMessage(Result result);

}  // namespace zel
