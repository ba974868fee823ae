#include "manifest/filter.h"

#include <array>

#include "system_info.h"
#include "tracer.h"

namespace integrity_check_tool {

namespace {

template <class T> bool Differs(const std::optional<T>& condition, T actual) noexcept
{
    return condition && *condition != actual;
}

}  // namespace

Filter::Filter(const ISystemInfo& system, zel::ITracerPtr tracer)
    : zel::TracerProvider(std::move(tracer)), arch_(system.GetOsArch()), os_(system.GetOs()),
      edition_(system.GetOsEdition()), bitness_(system.GetBitness()),
      version_(system.GetOsVersion())
{
}

const char* Filter::FirstFailing(const Applicability& entry) const noexcept
{
    using Predicate = bool (*)(const Filter&, const Applicability&);
    struct Named {
        const char* name;
        Predicate filtered;
    };
    // Evaluated in this order; the first that excludes the system names the reason.
    static constexpr std::array<Named, 7> kPredicates{{
        {"arch", [](const Filter& f, const Applicability& e) { return Differs(e.arch, f.arch_); }},
        {"os", [](const Filter& f, const Applicability& e) { return Differs(e.os, f.os_); }},
        {"osEdition",
         [](const Filter& f, const Applicability& e) { return Differs(e.osEdition, f.edition_); }},
        {"bitness",
         [](const Filter& f, const Applicability& e) { return Differs(e.bitness, f.bitness_); }},
        {"minVersionNt",
         [](const Filter& f, const Applicability& e) {
             return f.os_ == Os::Windows && e.minVersionNt && *e.minVersionNt > f.version_;
         }},
        {"maxVersionNt",
         [](const Filter& f, const Applicability& e) {
             return f.os_ == Os::Windows && e.maxVersionNt && *e.maxVersionNt < f.version_;
         }},
        {"linuxKernelVersion",
         [](const Filter& f, const Applicability& e) {
             return f.os_ == Os::Linux && Differs(e.linuxKernelVersion, f.version_);
         }},
    }};
    for (const Named& predicate : kPredicates) {
        if (predicate.filtered(*this, entry)) {
            return predicate.name;
        }
    }
    return nullptr;
}

bool Filter::IsFiltered(const Applicability& entry, std::string_view description) const
{
    const char* reason = FirstFailing(entry);
    if (reason == nullptr) {
        return false;
    }
    if (IsTraceEnabled(kTraceDebug)) {
        Trace(kTraceDebug, "%1% filtered by %2%", description, reason);
    }
    return true;
}

bool IsUnrestricted(const Applicability& entry)
{
    return entry == Applicability{};
}

}  // namespace integrity_check_tool
