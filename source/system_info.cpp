#include "system_info.h"

#include <zel/exception.h>

#include "exception.h"

namespace integrity_check_tool {

SystemInfo::SystemInfo(const zel::ISystemInformationService& service)
{
    ZEL_CHECK(service.GetSystemInformation(info_));
}

Arch SystemInfo::GetOsArch() const
{
    switch (info_.processorArchitecture) {
    case zel::kProcessorAmd64:
        return Arch::X86_64;
    case zel::kProcessorX86:
        return Arch::X86;
    case zel::kProcessorIa64:
        return Arch::IA64;
    case zel::kProcessorArm:
        return Arch::ARM32;
    case zel::kProcessorArm64:
        return Arch::ARM64;
    case zel::kProcessorE2k32:
        return Arch::E2K32;
    case zel::kProcessorE2k64:
        return Arch::E2K64;
    default:
        ICT_THROW("Unsupported system architecture %1%", info_.processorArchitecture);
    }
}

Os SystemInfo::GetOs() const
{
    switch (info_.platformFamily) {
    case zel::kPlatformWindows:
        return Os::Windows;
    case zel::kPlatformMac:
        return Os::MacOS;
    default:
        return Os::Linux;
    }
}

OsEdition SystemInfo::GetOsEdition() const
{
    switch (info_.productType) {
    case zel::kProductDesktop:
        return OsEdition::Desktop;
    case zel::kProductServer:
        return OsEdition::Server;
    default:
        return GetOs() == Os::Linux ? OsEdition::Server : OsEdition::Desktop;
    }
}

Bitness SystemInfo::GetBitness() const
{
    switch (GetOsArch()) {
    case Arch::X86_64:
    case Arch::IA64:
    case Arch::ARM64:
    case Arch::E2K64:
        return Bitness::Bits64;
    default:
        return Bitness::Bits32;
    }
}

std::uint32_t SystemInfo::GetOsVersion() const
{
    return info_.majorVersion * 100 + info_.minorVersion;
}

ConfiguredSystemInfo::ConfiguredSystemInfo(ISystemInfoPtr system, SystemOverrides overrides)
    : system_(std::move(system)), overrides_(overrides)
{
}

Arch ConfiguredSystemInfo::GetOsArch() const
{
    return overrides_.arch ? *overrides_.arch : system_->GetOsArch();
}

Os ConfiguredSystemInfo::GetOs() const
{
    return overrides_.os ? *overrides_.os : system_->GetOs();
}

OsEdition ConfiguredSystemInfo::GetOsEdition() const
{
    return overrides_.osEdition ? *overrides_.osEdition : system_->GetOsEdition();
}

Bitness ConfiguredSystemInfo::GetBitness() const
{
    return overrides_.bitness ? *overrides_.bitness : system_->GetBitness();
}

std::uint32_t ConfiguredSystemInfo::GetOsVersion() const
{
    return overrides_.version ? *overrides_.version : system_->GetOsVersion();
}

}  // namespace integrity_check_tool
