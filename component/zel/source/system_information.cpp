#include "zel/system_information.h"

#include <sys/utsname.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <utility>

namespace zel {

namespace {

class UnameSystemInformation final : public ISystemInformationService {
public:
    Result GetSystemInformation(SystemInformation& info) const override
    {
        struct utsname names {};
        if (::uname(&names) != 0) {
            return ResultFromErrno(errno);
        }
        info = SystemInformation{};
        info.platformFamily = kPlatformLinux;
        info.productType = kProductUnknown;
        info.machine = names.machine;
        info.release = names.release;
        info.processorArchitecture = ProcessorFromMachine(info.machine);
        ParseKernelRelease(info.release, info.majorVersion, info.minorVersion);
        return kOk;
    }
};

bool ParseNumber(std::string_view& text, std::uint32_t& value) noexcept
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end == text.data()) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

}  // namespace

ISystemInformationServicePtr CreateSystemInformationService()
{
    return MakeIntrusive<UnameSystemInformation>();
}

std::uint32_t ProcessorFromMachine(std::string_view machine) noexcept
{
    static constexpr std::array<std::pair<std::string_view, std::uint32_t>, 15> kMachines{{
        {"x86_64", kProcessorAmd64},
        {"amd64", kProcessorAmd64},
        {"i386", kProcessorX86},
        {"i486", kProcessorX86},
        {"i586", kProcessorX86},
        {"i686", kProcessorX86},
        {"ia64", kProcessorIa64},
        {"aarch64", kProcessorArm64},
        {"arm64", kProcessorArm64},
        {"aarch64_be", kProcessorArm64},
        {"armv7l", kProcessorArm},
        {"armv6l", kProcessorArm},
        {"arm", kProcessorArm},
        {"e2k", kProcessorE2k64},
        {"e2k32", kProcessorE2k32},
    }};
    for (const auto& [name, code] : kMachines) {
        if (name == machine) {
            return code;
        }
    }
    if (machine.substr(0, 5) == "armv8" || machine.substr(0, 5) == "armv7") {
        return kProcessorArm;
    }
    return kProcessorUnknown;
}

bool ParseKernelRelease(std::string_view release, std::uint32_t& major,
                        std::uint32_t& minor) noexcept
{
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    if (!ParseNumber(release, first) || release.empty() || release.front() != '.') {
        return false;
    }
    release.remove_prefix(1);
    if (!ParseNumber(release, second)) {
        return false;
    }
    major = first;
    minor = second;
    return true;
}

}  // namespace zel
