#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include <crypto/openssl_handles.h>

#include "signature/gost_curve.h"
#include "types.h"
#include "vorn/result.h"

namespace integrity_check_tool::vorn {

/// Identifies a key in a signature record: the first 8 bytes of the 256-bit
/// GOST R 34.11-2012 digest of the key's X || Y as stored in its
/// SubjectPublicKeyInfo (each coordinate little-endian).
using GostKeyId = std::array<std::uint8_t, 8>;

/// A GOST R 34.10-2012 public key: a point of order q on a known parameter set.
class GostPublicKey final {
public:
    /// Reads the DER SubjectPublicKeyInfo at the front of `der` and moves
    /// `der` past it. kInvalidParameters when it is malformed, not a GOST
    /// R 34.10-2012 key of a known parameter set, or not a point of order q
    /// on its curve; kSuccess otherwise.
    static Result Parse(std::span<const std::uint8_t>& der, std::optional<GostPublicKey>& key);

    /// The key d * P on `curve`, named by `parameterSetOid`.
    GostPublicKey(const GostCurve& curve, std::string parameterSetOid, EcPointPtr point);

    const GostCurve& Curve() const noexcept { return *curve_; }
    const std::string& ParameterSetOid() const noexcept { return parameterSetOid_; }
    const EC_POINT& Point() const noexcept { return *point_; }
    const GostKeyId& Id() const noexcept { return id_; }
    /// X || Y, each little-endian and Curve().Width() bytes long.
    const Blob& Coordinates() const noexcept { return coordinates_; }

    /// The DER SubjectPublicKeyInfo (as GOST tools write it).
    Blob ToDer() const;
    /// The PEM "PUBLIC KEY" block of ToDer().
    std::string ToPem() const;

private:
    GostPublicKey(const GostCurve& curve, std::string parameterSetOid, EcPointPtr point,
                  Blob coordinates);

    const GostCurve* curve_;
    std::string parameterSetOid_;
    EcPointPtr point_;
    Blob coordinates_;
    GostKeyId id_{};
};

}  // namespace integrity_check_tool::vorn
