#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>

#include <zel/tracer.h>

#include "forward.h"
#include "manifest/manifest.h"

namespace integrity_check_tool {

/// Decides whether a manifest entry applies to the system.
class IFilter {
public:
    virtual ~IFilter() = default;

    /// True when `entry` does not apply; `description` names the entry in
    /// the trace. Never throws.
    virtual bool IsFiltered(const Applicability& entry, std::string_view description) const = 0;
};

/// True when `entry` applies to every system: no filter drops it.
bool IsUnrestricted(const Applicability& entry);

/// Filter for one system, whose facts are read once at construction.
class Filter final : public IFilter, private zel::TracerProvider {
public:
    /// Throws what `system` throws (an unsupported architecture).
    Filter(const ISystemInfo& system, zel::ITracerPtr tracer);

    bool IsFiltered(const Applicability& entry, std::string_view description) const override;

private:
    /// Name of the first condition of `entry` that excludes the system, or null.
    const char* FirstFailing(const Applicability& entry) const noexcept;

    /// The system's facts, one of each condition's type (the version stands
    /// for the Windows and the Linux kernel version alike).
    std::tuple<Arch, Os, OsEdition, Bitness, std::uint32_t> facts_;
};

}  // namespace integrity_check_tool
