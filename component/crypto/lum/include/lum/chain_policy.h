#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <openssl/types.h>

namespace crypto::lum {

/// A rule of the signing policy that a certificate breaks.
struct PolicyViolation {
    std::uint32_t flag;  ///< the verification flag it sets
    std::string reason;  ///< e.g. "its RSA key has 1024 bits, fewer than 2048"
};

/// Where a certificate sits in a chain.
enum class ChainPosition { Leaf, Intermediate, Root };

/// Strength rules for every chain, code signing and time stamping alike:
/// RSA and DSA keys of 2048 bits or more, EC keys of 256 bits or more, and
/// no signature with MD5 or SHA-1 (a root's own signature is not checked).
/// Other key types pass.
std::vector<PolicyViolation> StrengthViolations(X509& certificate, ChainPosition position);

/// Code-signing rules on top of strength: the signer is no CA, and an
/// intermediate that restricts its extended key usage allows codeSigning.
std::vector<PolicyViolation> CodeSigningViolations(X509& certificate, ChainPosition position);

/// The position of `certificate` at `depth` of a chain (leaf first): a
/// self-signed certificate above the leaf is a root.
ChainPosition PositionInChain(X509& certificate, int depth);

}  // namespace crypto::lum
