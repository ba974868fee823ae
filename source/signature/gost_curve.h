#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include <crypto/openssl_handles.h>

#include "hash/streebog.h"

namespace integrity_check_tool::vorn {

using crypto::Asn1ObjectPtr;
using crypto::BignumPtr;
using crypto::BnCtxPtr;
using crypto::EcGroupPtr;
using crypto::EcPointPtr;

/// The elliptic-curve parameters of one GOST R 34.10-2012 parameter set
/// (short Weierstrass form) as an OpenSSL group with generator, order q and
/// cofactor. Immutable; the groups are shared by every thread.
class GostCurve final {
public:
    /// Dotted OID (main name) and the textual parameters, big-endian hex.
    struct Definition {
        const char* name;
        const char* oid;
        std::vector<const char*> aliases;
        unsigned keyBits;  ///< 256 or 512: key, digest and signature width
        const char* p;
        const char* a;
        const char* b;
        const char* q;
        const char* x;
        const char* y;
        unsigned cofactor;
    };

    /// Builds the group; throws vorn::Exception ("Can't initialize VORN2
    /// library") when OpenSSL refuses the parameters.
    explicit GostCurve(const Definition& definition);

    const char* Name() const noexcept { return name_; }
    const char* Oid() const noexcept { return oid_; }
    /// Whether `oid` names this set (its main OID or an alias).
    bool HasOid(std::string_view oid) const noexcept;
    unsigned KeyBits() const noexcept { return keyBits_; }
    /// Bytes of one coordinate, one signature half or the private key.
    std::size_t Width() const noexcept { return keyBits_ / 8; }
    StreebogSize DigestSize() const noexcept
    {
        return keyBits_ == 256 ? StreebogSize::Bits256 : StreebogSize::Bits512;
    }
    const EC_GROUP* Group() const noexcept { return group_.get(); }
    /// The prime order q of the base point.
    const BIGNUM* Order() const noexcept { return order_.get(); }

private:
    const char* name_;
    const char* oid_;
    std::vector<const char*> aliases_;
    unsigned keyBits_;
    EcGroupPtr group_;
    BignumPtr order_;
};

/// Every known parameter set, built once per process on first use. Throws
/// vorn::Exception ("Can't initialize VORN2 library") when building fails.
const std::vector<GostCurve>& GostCurves();

/// The parameter set named by `oid` with keys of `keyBits` bits, or null.
const GostCurve* FindGostCurve(std::string_view oid, unsigned keyBits);

}  // namespace integrity_check_tool::vorn
