#pragma once

#include "lum/format.h"

namespace crypto::lum {

/// Bounds on the parts of a signature that nobody signs, checked on the DER
/// before it is decoded: an attacker who can write a signed file can grow
/// them at will without breaking the signature, and decoding them costs
/// memory and time many times their size.
///
/// - the whole CMS: kMaxSignatureSize;
/// - certificates: at most 16 (leaf, intermediates, a cross-certificate or
///   two; real chains hold three or four);
/// - crls: none. Revocation comes from the container alone; CRLs in the
///   signature would never be consulted, so any there are dead weight;
/// - digestAlgorithms and signerInfos: at most 4 (one signer is used; more
///   are refused later, with their own reason);
/// - per signer, signed attributes: at most 16; unsigned attributes: at
///   most 4 (the time-stamp token lives there, one a signer); at most 4
///   values an attribute;
/// - every element walked fits its parent, with a definite length.
/// Inside certificates, attributes and tokens the decoder does its own checks.
struct SignedDataBounds {
    static constexpr std::size_t kMaxCertificates = 16;
    static constexpr std::size_t kMaxCrls = 0;
    static constexpr std::size_t kMaxDigestAlgorithms = 4;
    static constexpr std::size_t kMaxSignerInfos = 4;
    static constexpr std::size_t kMaxSignedAttributes = 16;
    static constexpr std::size_t kMaxUnsignedAttributes = 4;
    static constexpr std::size_t kMaxAttributeValues = 4;
};

/// Why the DER of a ContentInfo(SignedData) breaks SignedDataBounds or the
/// DER framing of the levels it walks; nullptr when it keeps to them.
const char* SignedDataExcess(ByteSpan der);

}  // namespace crypto::lum
