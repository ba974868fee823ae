#pragma once

#include <optional>

#include <crypto/openssl_handles.h>

#include "lum/format.h"

namespace crypto::lum {

/// The parts of a DER CertificateList, found by walking its outer
/// structure only: the revoked entries stay undecoded until the signature
/// over them is known to be the root's.
struct CrlParts {
    ByteSpan tbs;        ///< the whole tbsCertList, tag and length included
    ByteSpan tbsSigAlg;  ///< the tbsCertList's AlgorithmIdentifier
    ByteSpan issuer;     ///< the issuer Name
    ByteSpan sigAlg;     ///< the outer AlgorithmIdentifier
    ByteSpan signature;  ///< the signature bits (the BIT STRING without its unused-bits octet)
};

/// The parts of `der`; nullopt unless it is one CertificateList filling it exactly.
std::optional<CrlParts> SplitCrl(ByteSpan der);

/// Whether `parts` name `root` as issuer and carry its key's signature over
/// the tbsCertList, under one algorithm in both places and with a digest
/// we accept (no MD5 or SHA-1).
bool IsSignedBy(const CrlParts& parts, X509& root);

}  // namespace crypto::lum
