#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include <crypto/openssl_handles.h>

#include "signature/gost_curve.h"
#include "signature/gost_public_key.h"
#include "types.h"

namespace integrity_check_tool::vorn {

using crypto::BignumPtr;

/// A GOST R 34.10-2012 private key d with its public key d * P.
class GostPrivateKey final {
public:
    /// Takes d (1 <= d < q, not checked here) on `curve`.
    GostPrivateKey(const GostCurve& curve, std::string parameterSetOid, BignumPtr d);

    const GostCurve& Curve() const noexcept { return PublicKey().Curve(); }
    const GostPublicKey& PublicKey() const noexcept { return publicKey_; }
    const BIGNUM& Secret() const noexcept { return *d_; }

private:
    BignumPtr d_;
    GostPublicKey publicKey_;
};

/// Reads the PEM "PRIVATE KEY" (PKCS#8) of a GOST R 34.10-2012 key as GOST
/// tools for OpenSSL write it: the key d little-endian in the privateKey
/// OCTET STRING (an inner OCTET STRING or INTEGER is accepted too). Throws
/// Exception "Invalid GOST private key" otherwise.
GostPrivateKey LoadGostPrivateKey(std::string_view pem);

/// A new key of `bits` (256 or 512) on the TC26 parameter set `paramSet`
/// ("A" to "D" for 256 bits, "A" to "C" for 512). Throws Exception "Unknown
/// GOST parameter set %1%" or vorn::Exception when the random generator
/// fails.
GostPrivateKey GenerateGostKey(unsigned bits, std::string_view paramSet);

/// The PEM "PRIVATE KEY" (PKCS#8, d little-endian) that LoadGostPrivateKey
/// and GOST tools for OpenSSL read.
std::string GostPrivateKeyToPem(const GostPrivateKey& key);
/// The PEM "PUBLIC KEY" (SubjectPublicKeyInfo) of `key`.
std::string GostPublicKeyToPem(const GostPublicKey& key);

/// The "vorn2" record and trailer that sign `content` with `key` (append it
/// to the content); see vorn2_record.h.
Blob SignVorn2Record(std::span<const std::uint8_t> content, const GostPrivateKey& key);

/// Whether `file` ends with a "vorn2" trailer.
bool HasVorn2Signature(std::span<const std::uint8_t> file) noexcept;
/// Removes a "vorn2" signature from the end of `file` (for re-signing):
/// true when one was removed, false when there was none. Throws
/// vorn::Exception when the trailer is there but the record is malformed.
bool StripVorn2Signature(Blob& file);

}  // namespace integrity_check_tool::vorn
