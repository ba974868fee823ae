#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "signature/gost_curve.h"
#include "types.h"

namespace integrity_check_tool::vorn {

/// The signature equations of GOST R 34.10-2012 over OpenSSL arithmetic.
/// Signatures are s || r, each big-endian and curve.Width() bytes long (the
/// layout GOST tools write).
class Gost3410 final {
public:
    /// e of section 6.1 step 2: the digest read as a little-endian integer,
    /// reduced mod q, 1 when that is 0. Null only when out of memory.
    static BignumPtr DigestToE(const GostCurve& curve, std::span<const std::uint8_t> digest);

    /// Section 6.2 over a digest: true only when the signature is well formed,
    /// 0 < r, s < q, and the equation holds for the public key `q`.
    static bool Verify(const GostCurve& curve, const EC_POINT& publicKey,
                       std::span<const std::uint8_t> digest,
                       std::span<const std::uint8_t> signature);
    /// Section 6.2 over e and the integers r, s (the worked examples give e).
    static bool VerifyE(const GostCurve& curve, const EC_POINT& publicKey, const BIGNUM& e,
                        const BIGNUM& r, const BIGNUM& s);

    /// Section 6.1 steps 3-6 with a given k: the signature, or nullopt when
    /// this k gives r = 0 or s = 0 (pick another). Throws vorn::Exception
    /// ("The signature wasn't created ...") when OpenSSL fails.
    static std::optional<Blob> SignE(const GostCurve& curve, const BIGNUM& privateKey,
                                     const BIGNUM& e, const BIGNUM& k);
    /// Section 6.1 over a digest with k from OpenSSL's private random generator.
    static Blob Sign(const GostCurve& curve, const BIGNUM& privateKey,
                     std::span<const std::uint8_t> digest);

    /// A uniformly random integer in [1, q-1] (rejection sampling over
    /// RAND_priv_bytes); throws vorn::Exception when the generator fails.
    static BignumPtr RandomScalar(const GostCurve& curve);
    /// The public key d * P.
    static EcPointPtr PublicPoint(const GostCurve& curve, const BIGNUM& privateKey);
};

}  // namespace integrity_check_tool::vorn
