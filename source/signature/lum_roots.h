#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "types.h"

namespace integrity_check_tool::lum {

/// The root certificates (DER) the build embeds: the regular set that the
/// checker trusts, or the alternative set of the tester.
std::vector<Blob> TrustedRoots(bool regular);

/// Generated from the files named by ICT_REGULAR_ROOTS and ICT_ALTERNATIVE_ROOTS.
std::vector<std::span<const std::uint8_t>> RegularRoots();
std::vector<std::span<const std::uint8_t>> AlternativeRoots();

}  // namespace integrity_check_tool::lum
