#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "types.h"

namespace integrity_check_tool::lum {

/// The root certificates (DER) the build embeds: the regular set that the
/// checker trusts, or the alternative set of the tester.
std::vector<Blob> TrustedRoots(bool regular);
/// The roots (DER) of the time-stamping authorities every flavour trusts.
std::vector<Blob> TsaRoots();

/// Generated from the files named by ICT_REGULAR_ROOTS, ICT_ALTERNATIVE_ROOTS
/// and ICT_TSA_ROOTS.
std::vector<std::span<const std::uint8_t>> RegularRoots();
std::vector<std::span<const std::uint8_t>> AlternativeRoots();
std::vector<std::span<const std::uint8_t>> TsaRootFiles();

}  // namespace integrity_check_tool::lum
