#include "manifest/filter.h"

#include <tuple>

#include "system_info.h"
#include "tracer.h"

namespace integrity_check_tool {

namespace {

/// True when `condition` of `entry` excludes the system of `facts`, each
/// condition being compared with the fact of its type.
template <class T, class Facts>
bool Excludes(const Condition<T>& condition, const Applicability& entry,
              const Facts& facts) noexcept
{
    const std::optional<T>& value = entry.*condition.member;
    if (!value || (condition.os && *condition.os != std::get<Os>(facts))) {
        return false;
    }
    const T fact = std::get<T>(facts);
    switch (condition.bound) {
    case Bound::Equal:
        return *value != fact;
    case Bound::Minimum:
        return *value > fact;
    case Bound::Maximum:
        return *value < fact;
    }
    return false;
}

}  // namespace

Filter::Filter(const ISystemInfo& system, zel::ITracerPtr tracer)
    : zel::TracerProvider(std::move(tracer)), facts_{system.GetOsArch(), system.GetOs(),
                                                     system.GetOsEdition(), system.GetBitness(),
                                                     system.GetOsVersion()}
{
}

const char* Filter::FirstFailing(const Applicability& entry) const noexcept
{
    const char* reason = nullptr;
    ForEachCondition([&](const auto& condition) {
        if (reason == nullptr && Excludes(condition, entry, facts_)) {
            reason = condition.key;
        }
    });
    return reason;
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
