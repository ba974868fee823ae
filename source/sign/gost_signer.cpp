#include "sign/gost_signer.h"

#include <openssl/asn1.h>
#include <openssl/crypto.h>
#include <openssl/err.h>

#include "exception.h"
#include "signature/gost3410.h"
#include "signature/gost_asn1.h"
#include "signature/vorn2_record.h"
#include "vorn/vorn_exception.h"

namespace integrity_check_tool::vorn {

using crypto::BignumPtr;

namespace {

constexpr const char* kInvalidKey = "Invalid GOST private key";

struct ParameterSet {
    unsigned bits;
    std::string_view name;
    const char* oid;
};

// TC26 parameter sets by letter (R 1323565.1.024-2019).
constexpr ParameterSet kParameterSets[] = {
    {256, "A", "1.2.643.7.1.2.1.1.1"}, {256, "B", "1.2.643.7.1.2.1.1.2"},
    {256, "C", "1.2.643.7.1.2.1.1.3"}, {256, "D", "1.2.643.7.1.2.1.1.4"},
    {512, "A", "1.2.643.7.1.2.1.2.1"}, {512, "B", "1.2.643.7.1.2.1.2.2"},
    {512, "C", "1.2.643.7.1.2.1.2.3"},
};

// Wipes a copy of key material when it goes out of scope.
class SecretBytes final {
public:
    explicit SecretBytes(Blob bytes) : bytes_(std::move(bytes)) {}
    ~SecretBytes() { OPENSSL_cleanse(bytes_.data(), bytes_.size()); }
    SecretBytes(const SecretBytes&) = delete;
    SecretBytes& operator=(const SecretBytes&) = delete;
    const Blob& Get() const noexcept { return bytes_; }

private:
    Blob bytes_;
};

// The private key field: d little-endian as the GOST engine writes it, or
// wrapped in an OCTET STRING (little-endian) or an INTEGER (big-endian).
BignumPtr SecretOf(const GostCurve& curve, std::span<const std::uint8_t> field)
{
    const std::size_t width = curve.Width();
    const int size = static_cast<int>(width);
    if (field.size() == width) {
        return BignumPtr(BN_lebin2bn(field.data(), size, nullptr));
    }
    if (field.size() == width + 2 && field[0] == V_ASN1_OCTET_STRING && field[1] == width) {
        return BignumPtr(BN_lebin2bn(field.data() + 2, size, nullptr));
    }
    if (!field.empty() && field[0] == V_ASN1_INTEGER) {
        const unsigned char* cursor = field.data();
        ASN1_INTEGER* integer = d2i_ASN1_INTEGER(nullptr, &cursor, static_cast<long>(field.size()));
        if (integer == nullptr) {
            ERR_clear_error();
            return nullptr;
        }
        BignumPtr value(ASN1_INTEGER_to_BN(integer, nullptr));
        ASN1_INTEGER_free(integer);
        return value;
    }
    return nullptr;
}

BignumPtr ConstantTime(BignumPtr secret)
{
    BN_set_flags(secret.get(), BN_FLG_CONSTTIME);
    return secret;
}

}  // namespace

GostPrivateKey::GostPrivateKey(const GostCurve& curve, std::string parameterSetOid, BignumPtr d)
    : d_(ConstantTime(std::move(d))),
      publicKey_(curve, std::move(parameterSetOid), Gost3410::PublicPoint(curve, *d_))
{
}

GostPrivateKey LoadGostPrivateKey(std::string_view pem)
{
    // PrivateKeyInfo ::= SEQUENCE { version, privateKeyAlgorithm,
    //   privateKey OCTET STRING, attributes [0] OPTIONAL } (RFC 5208)
    const std::optional<Blob> der = FromPem("PRIVATE KEY", pem);
    if (!der) {
        ICT_THROW(kInvalidKey);
    }
    const SecretBytes secretDer(*der);
    std::size_t consumed = 0;
    const auto info = Asn1Sequence::Parse(secretDer.Get(), consumed);
    if (!info || consumed != secretDer.Get().size() || info->Size() < 3 ||
        info->Type(0) != V_ASN1_INTEGER || info->Type(1) != V_ASN1_SEQUENCE ||
        info->Type(2) != V_ASN1_OCTET_STRING) {
        ICT_THROW(kInvalidKey);
    }
    auto algorithm = ParseGostAlgorithm(info->Bytes(1));
    if (!algorithm) {
        ICT_THROW(kInvalidKey);
    }
    BignumPtr d = SecretOf(*algorithm->curve, info->Bytes(2));
    if (!d || BN_is_zero(d.get()) || BN_is_negative(d.get()) ||
        BN_cmp(d.get(), algorithm->curve->Order()) >= 0) {
        ICT_THROW(kInvalidKey);
    }
    return GostPrivateKey(*algorithm->curve, std::move(algorithm->parameterSetOid), std::move(d));
}

GostPrivateKey GenerateGostKey(unsigned bits, std::string_view paramSet)
{
    for (const ParameterSet& set : kParameterSets) {
        if (set.bits == bits && set.name == paramSet) {
            const GostCurve* curve = FindGostCurve(set.oid, bits);
            if (curve == nullptr) {
                break;
            }
            return GostPrivateKey(*curve, set.oid, Gost3410::RandomScalar(*curve));
        }
    }
    ICT_THROW("Unknown GOST parameter set %1%", std::string(paramSet));
}

std::string GostPrivateKeyToPem(const GostPrivateKey& key)
{
    const GostCurve& curve = key.Curve();
    const int width = static_cast<int>(curve.Width());
    Blob secret(curve.Width());
    if (BN_bn2lebinpad(&key.Secret(), secret.data(), width) != width) {
        OPENSSL_cleanse(secret.data(), secret.size());
        ICT_THROW(kInvalidKey);
    }
    const SecretBytes field(std::move(secret));
    Blob content{V_ASN1_INTEGER, 0x01, 0x00};
    const Blob algorithm = EncodeGostAlgorithm(curve, key.PublicKey().ParameterSetOid());
    content.insert(content.end(), algorithm.begin(), algorithm.end());
    const SecretBytes octets(DerElement(V_ASN1_OCTET_STRING, field.Get()));
    content.insert(content.end(), octets.Get().begin(), octets.Get().end());
    const SecretBytes contentBytes(std::move(content));
    const SecretBytes der(DerElement(V_ASN1_SEQUENCE | V_ASN1_CONSTRUCTED, contentBytes.Get()));
    return ToPem("PRIVATE KEY", der.Get());
}

std::string GostPublicKeyToPem(const GostPublicKey& key)
{
    return key.ToPem();
}

Blob SignVorn2Record(std::span<const std::uint8_t> content, const GostPrivateKey& key)
{
    const GostCurve& curve = key.Curve();
    const Blob digest = Streebog::Digest(curve.DigestSize(), content);
    const Blob signature = Gost3410::Sign(curve, key.Secret(), digest);
    return BuildVorn2Record(key.PublicKey(), signature);
}

bool HasVorn2Signature(std::span<const std::uint8_t> file) noexcept
{
    Vorn2Record record;
    return ParseVorn2Record(file, record) != kSignatureNotFound;
}

bool StripVorn2Signature(Blob& file)
{
    Vorn2Record record;
    const Result result = ParseVorn2Record(file, record);
    if (result == kSignatureNotFound) {
        return false;
    }
    if (result != kSuccess) {
        VORN_THROW("Can't remove signature", result);
    }
    file.resize(record.content.size());
    return true;
}

}  // namespace integrity_check_tool::vorn
