#pragma once

#include <cstdint>
#include <string>

namespace crypto::lum {

/// Bits of the verification flags reported for one verified object.
namespace flags {
inline constexpr std::uint32_t kSigned = 0x1;
inline constexpr std::uint32_t kTrusted = 0x2;
inline constexpr std::uint32_t kEmbedded = 0x4;
inline constexpr std::uint32_t kCatalog = 0x8;
inline constexpr std::uint32_t kRevocationCheckSkipped = 0x10;
inline constexpr std::uint32_t kCounterSignatureUsed = 0x20;
inline constexpr std::uint32_t kSignatureValueNotMatched = 0x100;
inline constexpr std::uint32_t kMalformedContent = 0x200;
inline constexpr std::uint32_t kIncompleteChain = 0x400;
inline constexpr std::uint32_t kRevoked = 0x800;
inline constexpr std::uint32_t kExpired = 0x1000;
inline constexpr std::uint32_t kInvalidExtension = 0x2000;
inline constexpr std::uint32_t kUnconsumedCriticalExtension = 0x4000;
inline constexpr std::uint32_t kInvalidUsage = 0x8000;
inline constexpr std::uint32_t kInvalidIssuer = 0x10000;
inline constexpr std::uint32_t kInvalidBasicContraints = 0x20000;
inline constexpr std::uint32_t kInvalidPurpose = 0x40000;
inline constexpr std::uint32_t kInvalidCertificateSign = 0x80000;

/// Bits that make a verification fail (everything from 0x100 up).
inline constexpr std::uint32_t kFailureMask = 0xFFFFFF00;
}  // namespace flags

/// Names of the set bits in bit order joined by "|" ("Signed|Trusted");
/// "None" for 0. A bit without a name shows as its hex value ("0x40").
std::string VerificationFlagsToString(std::uint32_t value);

}  // namespace crypto::lum
