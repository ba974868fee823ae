#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "zel/ref_counted.h"
#include "zel/result.h"

namespace zel {

inline constexpr std::uint32_t kPlatformWindows = 0;
inline constexpr std::uint32_t kPlatformLinux = 2;
inline constexpr std::uint32_t kPlatformMac = 3;

inline constexpr std::uint32_t kProductDesktop = 0;
inline constexpr std::uint32_t kProductServer = 1;
inline constexpr std::uint32_t kProductUnknown = 2;

inline constexpr std::uint32_t kProcessorX86 = 0;
inline constexpr std::uint32_t kProcessorArm = 5;
inline constexpr std::uint32_t kProcessorIa64 = 6;
inline constexpr std::uint32_t kProcessorAmd64 = 9;
inline constexpr std::uint32_t kProcessorArm64 = 12;
inline constexpr std::uint32_t kProcessorE2k32 = 0x100;
inline constexpr std::uint32_t kProcessorE2k64 = 0x101;
inline constexpr std::uint32_t kProcessorUnknown = 0xFFFF;

/// Facts about the running operating system.
struct SystemInformation {
    std::uint32_t platformFamily = kPlatformLinux;
    std::uint32_t productType = kProductUnknown;
    std::uint32_t processorArchitecture = kProcessorUnknown;
    std::uint32_t majorVersion = 0;
    std::uint32_t minorVersion = 0;
    std::string machine;  ///< uname machine field, e.g. "aarch64"
    std::string release;  ///< uname release field, e.g. "6.1.0-13-arm64"
};

/// Source of system facts; the real one asks uname, tests pass their own.
class ISystemInformationService : public RefCounted {
public:
    virtual Result GetSystemInformation(SystemInformation& info) const = 0;
};
using ISystemInformationServicePtr = intrusive_ptr<ISystemInformationService>;

/// Creates the service backed by uname.
ISystemInformationServicePtr CreateSystemInformationService();

/// Maps a uname machine name to a processor-architecture code
/// (kProcessorUnknown when the name is not known).
std::uint32_t ProcessorFromMachine(std::string_view machine) noexcept;

/// Reads "major.minor" from the front of a kernel release; false when the
/// text does not start that way.
bool ParseKernelRelease(std::string_view release, std::uint32_t& major,
                        std::uint32_t& minor) noexcept;

}  // namespace zel
