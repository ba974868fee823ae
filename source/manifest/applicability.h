#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <tuple>

#include "enums.h"

namespace integrity_check_tool {

/// Conditions under which an entry applies; an absent field places none.
struct Applicability {
    std::optional<Arch> arch;
    std::optional<Os> os;
    std::optional<OsEdition> osEdition;
    std::optional<Bitness> bitness;
    std::optional<std::uint32_t> minVersionNt;
    std::optional<std::uint32_t> maxVersionNt;
    std::optional<std::uint32_t> linuxKernelVersion;

    friend auto operator<=>(const Applicability&, const Applicability&) = default;
};

/// How a condition's value compares with the system's fact of its type.
enum class Bound {
    /// The fact must equal the value.
    Equal,
    /// The fact must be at least the value.
    Minimum,
    /// The fact must be at most the value.
    Maximum,
};

/// One field of Applicability, with its spellings and meaning.
template <class T> struct Condition {
    /// The JSON key, also the reason the filter names.
    const char* key;
    /// The XML attribute.
    const char* attribute;
    std::optional<T> Applicability::*member;
    Bound bound = Bound::Equal;
    /// The only system the condition is checked on; any when absent.
    std::optional<Os> os = std::nullopt;
};

/// Every condition, in the order they are written (JSON keys, XML attributes)
/// and evaluated (the first that excludes the system is the reason).
inline constexpr std::tuple kConditions{
    Condition<Arch>{"arch", "arch", &Applicability::arch},
    Condition<Os>{"os", "os", &Applicability::os},
    Condition<OsEdition>{"osEdition", "edition", &Applicability::osEdition},
    Condition<Bitness>{"bitness", "bitness", &Applicability::bitness},
    Condition<std::uint32_t>{"minVersionNt", "minVersionNt", &Applicability::minVersionNt,
                             Bound::Minimum, Os::Windows},
    Condition<std::uint32_t>{"maxVersionNt", "maxVersionNt", &Applicability::maxVersionNt,
                             Bound::Maximum, Os::Windows},
    Condition<std::uint32_t>{"linuxKernelVersion", "linuxKernelVersion",
                             &Applicability::linuxKernelVersion, Bound::Equal, Os::Linux},
};

/// Calls `visit` with each Condition of kConditions, in order.
template <class Visit> constexpr void ForEachCondition(Visit&& visit)
{
    std::apply([&](const auto&... condition) { (visit(condition), ...); }, kConditions);
}

}  // namespace integrity_check_tool
