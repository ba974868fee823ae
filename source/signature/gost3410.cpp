#include "signature/gost3410.h"

#include <algorithm>
#include <vector>

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include "vorn/vorn_exception.h"

namespace integrity_check_tool::vorn {
namespace {

constexpr Result kSigningFailed = 0x5B118908;
constexpr const char* kSignStep = "Can't sign object";

BignumPtr NewBignum()
{
    BignumPtr value(BN_new());
    if (!value) {
        VORN_THROW(kSignStep, kOutOfMemory);
    }
    return value;
}

// 0 < v < q, the range condition of section 6.2 step 1.
bool InRange(const BIGNUM& value, const BIGNUM& order)
{
    return !BN_is_zero(&value) && !BN_is_negative(&value) && BN_cmp(&value, &order) < 0;
}

}  // namespace

BignumPtr Gost3410::DigestToE(const GostCurve& curve, std::span<const std::uint8_t> digest)
{
    const BnCtxPtr ctx(BN_CTX_new());
    BignumPtr e(BN_lebin2bn(digest.data(), static_cast<int>(digest.size()), nullptr));
    if (!ctx || !e || BN_nnmod(e.get(), e.get(), curve.Order(), ctx.get()) != 1) {
        return nullptr;
    }
    if (BN_is_zero(e.get()) && BN_one(e.get()) != 1) {
        return nullptr;
    }
    return e;
}

bool Gost3410::Verify(const GostCurve& curve, const EC_POINT& publicKey,
                      std::span<const std::uint8_t> digest, std::span<const std::uint8_t> signature)
{
    const std::size_t width = curve.Width();
    if (signature.size() != 2 * width) {
        return false;
    }
    const int half = static_cast<int>(width);
    const BignumPtr s(BN_bin2bn(signature.data(), half, nullptr));
    const BignumPtr r(BN_bin2bn(signature.data() + width, half, nullptr));
    if (!s || !r || !InRange(*r, *curve.Order()) || !InRange(*s, *curve.Order())) {
        return false;
    }
    const BignumPtr e = DigestToE(curve, digest);
    return e && VerifyE(curve, publicKey, *e, *r, *s);
}

bool Gost3410::VerifyE(const GostCurve& curve, const EC_POINT& publicKey, const BIGNUM& e,
                       const BIGNUM& r, const BIGNUM& s)
{
    const BIGNUM* q = curve.Order();
    if (!InRange(r, *q) || !InRange(s, *q)) {
        return false;
    }
    const BnCtxPtr ctx(BN_CTX_new());
    const BignumPtr v(BN_new());
    const BignumPtr z1(BN_new());
    const BignumPtr z2(BN_new());
    const BignumPtr x(BN_new());
    const EcPointPtr c(EC_POINT_new(curve.Group()));
    if (!ctx || !v || !z1 || !z2 || !x || !c) {
        return false;
    }
    // Steps 4-7: v = e^-1, z1 = s*v, z2 = -r*v (mod q), C = z1*P + z2*Q,
    // R = x_C mod q; the signature holds when R = r.
    if (BN_mod_inverse(v.get(), &e, q, ctx.get()) == nullptr ||
        BN_mod_mul(z1.get(), &s, v.get(), q, ctx.get()) != 1 ||
        BN_mod_mul(z2.get(), &r, v.get(), q, ctx.get()) != 1 ||
        BN_mod_sub(z2.get(), q, z2.get(), q, ctx.get()) != 1 ||
        EC_POINT_mul(curve.Group(), c.get(), z1.get(), &publicKey, z2.get(), ctx.get()) != 1 ||
        EC_POINT_is_at_infinity(curve.Group(), c.get()) == 1 ||
        EC_POINT_get_affine_coordinates(curve.Group(), c.get(), x.get(), nullptr, ctx.get()) != 1 ||
        BN_nnmod(x.get(), x.get(), q, ctx.get()) != 1) {
        return false;
    }
    return BN_cmp(x.get(), &r) == 0;
}

std::optional<Blob> Gost3410::SignE(const GostCurve& curve, const BIGNUM& privateKey,
                                    const BIGNUM& e, const BIGNUM& k)
{
    const BIGNUM* q = curve.Order();
    const BnCtxPtr ctx(BN_CTX_new());
    const EcPointPtr c(EC_POINT_new(curve.Group()));
    const BignumPtr r = NewBignum();
    const BignumPtr s = NewBignum();
    const BignumPtr ke = NewBignum();
    if (!ctx || !c) {
        VORN_THROW(kSignStep, kOutOfMemory);
    }
    // Steps 4-5: C = k*P, r = x_C mod q; s = (r*d + k*e) mod q.
    if (EC_POINT_mul(curve.Group(), c.get(), &k, nullptr, nullptr, ctx.get()) != 1 ||
        EC_POINT_get_affine_coordinates(curve.Group(), c.get(), r.get(), nullptr, ctx.get()) != 1 ||
        BN_nnmod(r.get(), r.get(), q, ctx.get()) != 1 ||
        BN_mod_mul(s.get(), r.get(), &privateKey, q, ctx.get()) != 1 ||
        BN_mod_mul(ke.get(), &k, &e, q, ctx.get()) != 1 ||
        BN_mod_add(s.get(), s.get(), ke.get(), q, ctx.get()) != 1) {
        VORN_THROW(kSignStep, kSigningFailed);
    }
    if (BN_is_zero(r.get()) || BN_is_zero(s.get())) {
        return std::nullopt;
    }
    const int width = static_cast<int>(curve.Width());
    Blob signature(2 * curve.Width());
    if (BN_bn2binpad(s.get(), signature.data(), width) != width ||
        BN_bn2binpad(r.get(), signature.data() + width, width) != width) {
        VORN_THROW(kSignStep, kSigningFailed);
    }
    return signature;
}

Blob Gost3410::Sign(const GostCurve& curve, const BIGNUM& privateKey,
                    std::span<const std::uint8_t> digest)
{
    const BignumPtr e = DigestToE(curve, digest);
    if (!e) {
        VORN_THROW(kSignStep, kOutOfMemory);
    }
    for (;;) {
        const BignumPtr k = RandomScalar(curve);
        if (auto signature = SignE(curve, privateKey, *e, *k)) {
            return *std::move(signature);
        }
    }
}

BignumPtr Gost3410::RandomScalar(const GostCurve& curve)
{
    const BIGNUM* q = curve.Order();
    const int bits = BN_num_bits(q);
    const std::size_t bytes = static_cast<std::size_t>(bits + 7) / 8;
    std::vector<std::uint8_t> buffer(bytes);
    BignumPtr value = NewBignum();
    BN_set_flags(value.get(), BN_FLG_CONSTTIME);
    // Masking to q's bit length keeps the expected number of draws below 2.
    const unsigned excess = static_cast<unsigned>(bytes * 8 - static_cast<std::size_t>(bits));
    const auto mask = static_cast<std::uint8_t>(0xFFu >> excess);
    for (;;) {
        if (RAND_priv_bytes(buffer.data(), static_cast<int>(bytes)) != 1) {
            OPENSSL_cleanse(buffer.data(), buffer.size());
            VORN_THROW(kSignStep, kCryptoLibraryError);
        }
        buffer[0] &= mask;
        if (BN_bin2bn(buffer.data(), static_cast<int>(bytes), value.get()) == nullptr) {
            OPENSSL_cleanse(buffer.data(), buffer.size());
            VORN_THROW(kSignStep, kOutOfMemory);
        }
        if (InRange(*value, *q)) {
            OPENSSL_cleanse(buffer.data(), buffer.size());
            return value;
        }
    }
}

EcPointPtr Gost3410::PublicPoint(const GostCurve& curve, const BIGNUM& privateKey)
{
    const BnCtxPtr ctx(BN_CTX_new());
    EcPointPtr point(EC_POINT_new(curve.Group()));
    if (!ctx || !point ||
        EC_POINT_mul(curve.Group(), point.get(), &privateKey, nullptr, nullptr, ctx.get()) != 1) {
        VORN_THROW(kSignStep, kCryptoLibraryError);
    }
    return point;
}

}  // namespace integrity_check_tool::vorn
