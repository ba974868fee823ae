#pragma once

#include <cstdint>
#include <optional>

#include <zel/system_information.h>

#include "enums.h"
#include "forward.h"

namespace integrity_check_tool {

/// Facts about the system that manifest entries are matched against.
class ISystemInfo {
public:
    virtual ~ISystemInfo() = default;

    /// Throws Exception "Unsupported system architecture %1%" when unknown.
    virtual Arch GetOsArch() const = 0;
    virtual Os GetOs() const = 0;
    virtual OsEdition GetOsEdition() const = 0;
    /// Derived from GetOsArch, so it throws as that does.
    virtual Bitness GetBitness() const = 0;
    /// major * 100 + minor (the kernel release on Linux).
    virtual std::uint32_t GetOsVersion() const = 0;
};

/// The running system as the framework's system-information service reports it.
class SystemInfo final : public ISystemInfo {
public:
    /// Queries `service` once; throws zel::Exception when it fails.
    explicit SystemInfo(const zel::ISystemInformationService& service);

    Arch GetOsArch() const override;
    Os GetOs() const override;
    OsEdition GetOsEdition() const override;
    Bitness GetBitness() const override;
    std::uint32_t GetOsVersion() const override;

private:
    zel::SystemInformation info_;
};

/// Values that replace the facts of the running system.
struct SystemOverrides {
    std::optional<Arch> arch;
    std::optional<Os> os;
    std::optional<OsEdition> osEdition;
    std::optional<Bitness> bitness;
    std::optional<std::uint32_t> version;

    /// True when at least one fact is replaced.
    bool Any() const noexcept { return arch || os || osEdition || bitness || version; }
};

/// A system whose facts are taken from `overrides` where given, else from the wrapped one.
class ConfiguredSystemInfo final : public ISystemInfo {
public:
    ConfiguredSystemInfo(ISystemInfoPtr system, SystemOverrides overrides);

    Arch GetOsArch() const override;
    Os GetOs() const override;
    OsEdition GetOsEdition() const override;
    Bitness GetBitness() const override;
    std::uint32_t GetOsVersion() const override;

private:
    ISystemInfoPtr system_;
    SystemOverrides overrides_;
};

}  // namespace integrity_check_tool
