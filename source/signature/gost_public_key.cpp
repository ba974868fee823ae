#include "signature/gost_public_key.h"

#include <algorithm>

#include <openssl/asn1.h>
#include <openssl/err.h>

#include "hash/streebog.h"
#include "signature/gost_asn1.h"
#include "vorn/vorn_exception.h"

namespace integrity_check_tool::vorn {
namespace {

GostKeyId KeyIdOf(std::span<const std::uint8_t> coordinates)
{
    const Blob digest = Streebog::Digest(StreebogSize::Bits256, coordinates);
    GostKeyId id{};
    std::copy_n(digest.begin(), id.size(), id.begin());
    return id;
}

// The point X || Y (little-endian halves) when it lies on the curve and has
// order q: a point of a small subgroup would let a forger cycle through few
// values on the cofactor-4 sets.
EcPointPtr PointOf(const GostCurve& curve, std::span<const std::uint8_t> coordinates)
{
    const int width = static_cast<int>(curve.Width());
    const BnCtxPtr ctx(BN_CTX_new());
    const BignumPtr x(BN_lebin2bn(coordinates.data(), width, nullptr));
    const BignumPtr y(BN_lebin2bn(coordinates.data() + width, width, nullptr));
    EcPointPtr point(EC_POINT_new(curve.Group()));
    const EcPointPtr check(EC_POINT_new(curve.Group()));
    if (!ctx || !x || !y || !point || !check ||
        EC_POINT_set_affine_coordinates(curve.Group(), point.get(), x.get(), y.get(), ctx.get()) !=
            1 ||
        EC_POINT_is_on_curve(curve.Group(), point.get(), ctx.get()) != 1 ||
        EC_POINT_is_at_infinity(curve.Group(), point.get()) == 1 ||
        EC_POINT_mul(curve.Group(), check.get(), nullptr, point.get(), curve.Order(), ctx.get()) !=
            1 ||
        EC_POINT_is_at_infinity(curve.Group(), check.get()) != 1) {
        ERR_clear_error();
        return nullptr;
    }
    return point;
}

Blob CoordinatesOf(const GostCurve& curve, const EC_POINT& point)
{
    const int width = static_cast<int>(curve.Width());
    const BnCtxPtr ctx(BN_CTX_new());
    const BignumPtr x(BN_new());
    const BignumPtr y(BN_new());
    Blob coordinates(2 * curve.Width());
    if (!ctx || !x || !y ||
        EC_POINT_get_affine_coordinates(curve.Group(), &point, x.get(), y.get(), ctx.get()) != 1 ||
        BN_bn2lebinpad(x.get(), coordinates.data(), width) != width ||
        BN_bn2lebinpad(y.get(), coordinates.data() + width, width) != width) {
        VORN_THROW("Can't encode key", kCryptoLibraryError);
    }
    return coordinates;
}

}  // namespace

Result GostPublicKey::Parse(std::span<const std::uint8_t>& der, std::optional<GostPublicKey>& key)
{
    // SubjectPublicKeyInfo ::= SEQUENCE { algorithm, subjectPublicKey BIT
    // STRING }, the BIT STRING holding an OCTET STRING of X || Y, each
    // little-endian (RFC 9215 section 3.2).
    key.reset();
    std::size_t consumed = 0;
    const auto spki = Asn1Sequence::Parse(der, consumed);
    if (!spki || spki->Size() != 2 || spki->Type(0) != V_ASN1_SEQUENCE ||
        spki->Type(1) != V_ASN1_BIT_STRING || spki->UnusedBits(1) != 0) {
        return kInvalidParameters;
    }
    const auto algorithm = ParseGostAlgorithm(spki->Bytes(0));
    if (!algorithm) {
        return kInvalidParameters;
    }
    const std::span<const std::uint8_t> bits = spki->Bytes(1);
    const unsigned char* cursor = bits.data();
    ASN1_OCTET_STRING* octets =
        bits.empty() ? nullptr
                     : d2i_ASN1_OCTET_STRING(nullptr, &cursor, static_cast<long>(bits.size()));
    if (octets == nullptr) {
        ERR_clear_error();
        return kInvalidParameters;
    }
    const Blob coordinates(octets->data, octets->data + octets->length);
    const bool whole = cursor == bits.data() + bits.size();
    ASN1_OCTET_STRING_free(octets);
    const GostCurve& curve = *algorithm->curve;
    if (!whole || coordinates.size() != 2 * curve.Width()) {
        return kInvalidParameters;
    }
    EcPointPtr point = PointOf(curve, coordinates);
    if (!point) {
        return kInvalidParameters;
    }
    key.emplace(GostPublicKey(curve, algorithm->parameterSetOid, std::move(point), coordinates));
    der = der.subspan(consumed);
    return kSuccess;
}

GostPublicKey::GostPublicKey(const GostCurve& curve, std::string parameterSetOid, EcPointPtr point)
    : GostPublicKey(curve, std::move(parameterSetOid), nullptr, CoordinatesOf(curve, *point))
{
    point_ = std::move(point);
}

GostPublicKey::GostPublicKey(const GostCurve& curve, std::string parameterSetOid, EcPointPtr point,
                             Blob coordinates)
    : curve_(&curve), parameterSetOid_(std::move(parameterSetOid)), point_(std::move(point)),
      coordinates_(std::move(coordinates)), id_(KeyIdOf(coordinates_))
{
}

Blob GostPublicKey::ToDer() const
{
    Blob content = EncodeGostAlgorithm(*curve_, parameterSetOid_);
    Blob bits{0x00};  // no unused bits
    const Blob octets = DerElement(V_ASN1_OCTET_STRING, coordinates_);
    bits.insert(bits.end(), octets.begin(), octets.end());
    const Blob bitString = DerElement(V_ASN1_BIT_STRING, bits);
    content.insert(content.end(), bitString.begin(), bitString.end());
    return DerElement(V_ASN1_SEQUENCE | V_ASN1_CONSTRUCTED, content);
}

std::string GostPublicKey::ToPem() const
{
    return vorn::ToPem("PUBLIC KEY", ToDer());
}

}  // namespace integrity_check_tool::vorn
