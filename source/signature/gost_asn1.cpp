#include "signature/gost_asn1.h"

#include <climits>
#include <memory>

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/pem.h>

#include "vorn/vorn_exception.h"

namespace integrity_check_tool::vorn {

using crypto::Asn1ObjectPtr;
using crypto::BioPtr;

namespace {

STACK_OF(ASN1_TYPE) * AsStack(void* stack) noexcept
{
    return static_cast<STACK_OF(ASN1_TYPE)*>(stack);
}

void FreeOpenSsl(void* data) noexcept
{
    OPENSSL_free(data);
}
using OpenSslBytes = crypto::OpenSslPtr<void, FreeOpenSsl>;

}  // namespace

std::optional<Asn1Sequence> Asn1Sequence::Parse(std::span<const std::uint8_t> der,
                                                std::size_t& consumed)
{
    consumed = 0;
    if (der.empty() || der.size() > static_cast<std::size_t>(LONG_MAX)) {
        return std::nullopt;
    }
    const unsigned char* cursor = der.data();
    STACK_OF(ASN1_TYPE)* stack =
        d2i_ASN1_SEQUENCE_ANY(nullptr, &cursor, static_cast<long>(der.size()));
    if (stack == nullptr) {
        ERR_clear_error();
        return std::nullopt;
    }
    consumed = static_cast<std::size_t>(cursor - der.data());
    return Asn1Sequence(stack);
}

Asn1Sequence::Asn1Sequence(Asn1Sequence&& other) noexcept : stack_(other.stack_)
{
    other.stack_ = nullptr;
}

Asn1Sequence::~Asn1Sequence()
{
    if (stack_ != nullptr) {
        sk_ASN1_TYPE_pop_free(AsStack(stack_), ASN1_TYPE_free);
    }
}

int Asn1Sequence::Size() const noexcept
{
    return sk_ASN1_TYPE_num(AsStack(stack_));
}

int Asn1Sequence::Type(int index) const noexcept
{
    if (index < 0 || index >= Size()) {
        return -1;
    }
    return ASN1_TYPE_get(sk_ASN1_TYPE_value(AsStack(stack_), index));
}

std::string Asn1Sequence::Oid(int index) const
{
    if (Type(index) != V_ASN1_OBJECT) {
        return {};
    }
    const ASN1_TYPE* element = sk_ASN1_TYPE_value(AsStack(stack_), index);
    char text[128];
    const int length = OBJ_obj2txt(text, sizeof text, element->value.object, 1);
    if (length <= 0 || static_cast<std::size_t>(length) >= sizeof text) {
        return {};
    }
    return std::string(text, static_cast<std::size_t>(length));
}

std::span<const std::uint8_t> Asn1Sequence::Bytes(int index) const noexcept
{
    const int type = Type(index);
    if (type == -1 || type == V_ASN1_OBJECT || type == V_ASN1_NULL || type == V_ASN1_BOOLEAN) {
        return {};
    }
    const ASN1_STRING* value = sk_ASN1_TYPE_value(AsStack(stack_), index)->value.asn1_string;
    if (value == nullptr || value->length <= 0) {
        return {};
    }
    return {value->data, static_cast<std::size_t>(value->length)};
}

int Asn1Sequence::UnusedBits(int index) const noexcept
{
    if (Type(index) != V_ASN1_BIT_STRING) {
        return 0;
    }
    const ASN1_STRING* value = sk_ASN1_TYPE_value(AsStack(stack_), index)->value.asn1_string;
    return (value->flags & ASN1_STRING_FLAG_BITS_LEFT) != 0 ? static_cast<int>(value->flags & 0x07)
                                                            : 0;
}

std::optional<GostAlgorithm> ParseGostAlgorithm(std::span<const std::uint8_t> der)
{
    // AlgorithmIdentifier ::= SEQUENCE { algorithm, parameters SEQUENCE {
    //   publicKeyParamSet OID, digestParamSet OID OPTIONAL } } (RFC 9215 3.1)
    std::size_t consumed = 0;
    const auto algorithm = Asn1Sequence::Parse(der, consumed);
    if (!algorithm || consumed != der.size() || algorithm->Size() != 2 ||
        algorithm->Type(1) != V_ASN1_SEQUENCE) {
        return std::nullopt;
    }
    const std::string keyOid = algorithm->Oid(0);
    const unsigned bits = keyOid == kGostKey256Oid ? 256 : keyOid == kGostKey512Oid ? 512 : 0;
    if (bits == 0) {
        return std::nullopt;
    }
    const std::span<const std::uint8_t> parametersDer = algorithm->Bytes(1);
    const auto parameters = Asn1Sequence::Parse(parametersDer, consumed);
    if (!parameters || consumed != parametersDer.size() || parameters->Size() < 1 ||
        parameters->Size() > 2) {
        return std::nullopt;
    }
    std::string setOid = parameters->Oid(0);
    const GostCurve* curve = FindGostCurve(setOid, bits);
    if (curve == nullptr) {
        return std::nullopt;
    }
    if (parameters->Size() == 2) {
        const std::string digestOid = parameters->Oid(1);
        if (digestOid != (bits == 256 ? kStreebog256Oid : kStreebog512Oid)) {
            return std::nullopt;
        }
    }
    return GostAlgorithm{curve, std::move(setOid)};
}

Blob EncodeGostAlgorithm(const GostCurve& curve, std::string_view parameterSetOid)
{
    const bool is256 = curve.KeyBits() == 256;
    Blob parameters = DerOid(parameterSetOid);
    // As GOST tools write it (R 1323565.1.023): the digest is implied for
    // the TC26 256-bit sets and the 512-bit set C, named for the others.
    const bool digestImplied = parameterSetOid.starts_with("1.2.643.7.1.2.1.1.") ||
                               parameterSetOid == "1.2.643.7.1.2.1.2.3";
    if (!digestImplied) {
        const Blob digest = DerOid(is256 ? kStreebog256Oid : kStreebog512Oid);
        parameters.insert(parameters.end(), digest.begin(), digest.end());
    }
    Blob algorithm = DerOid(is256 ? kGostKey256Oid : kGostKey512Oid);
    const Blob parameterSequence = DerElement(V_ASN1_SEQUENCE | V_ASN1_CONSTRUCTED, parameters);
    algorithm.insert(algorithm.end(), parameterSequence.begin(), parameterSequence.end());
    return DerElement(V_ASN1_SEQUENCE | V_ASN1_CONSTRUCTED, algorithm);
}

Blob DerElement(std::uint8_t tag, std::span<const std::uint8_t> content)
{
    Blob element{tag};
    const std::size_t length = content.size();
    if (length < 0x80) {
        element.push_back(static_cast<std::uint8_t>(length));
    } else {
        std::uint8_t bytes[sizeof(std::size_t)];
        std::size_t count = 0;
        for (std::size_t rest = length; rest != 0; rest >>= 8) {
            bytes[count++] = static_cast<std::uint8_t>(rest & 0xFF);
        }
        element.push_back(static_cast<std::uint8_t>(0x80 | count));
        while (count != 0) {
            element.push_back(bytes[--count]);
        }
    }
    element.insert(element.end(), content.begin(), content.end());
    return element;
}

Blob DerOid(std::string_view dotted)
{
    const std::string text(dotted);
    const Asn1ObjectPtr object(OBJ_txt2obj(text.c_str(), 1));
    const int length = object ? i2d_ASN1_OBJECT(object.get(), nullptr) : -1;
    if (length <= 0) {
        ERR_clear_error();
        VORN_THROW("Can't encode key", kInvalidParameters);
    }
    Blob der(static_cast<std::size_t>(length));
    unsigned char* cursor = der.data();
    i2d_ASN1_OBJECT(object.get(), &cursor);
    return der;
}

std::string ToPem(std::string_view label, std::span<const std::uint8_t> der)
{
    const BioPtr bio(BIO_new(BIO_s_mem()));
    const std::string name(label);
    if (!bio || PEM_write_bio(bio.get(), name.c_str(), "", der.data(),
                              static_cast<long>(der.size())) <= 0) {
        VORN_THROW("Can't encode key", kOutOfMemory);
    }
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return std::string(data, static_cast<std::size_t>(size));
}

std::optional<Blob> FromPem(std::string_view label, std::string_view pem)
{
    if (pem.size() > static_cast<std::size_t>(INT_MAX)) {
        return std::nullopt;
    }
    const BioPtr bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    if (!bio) {
        return std::nullopt;
    }
    for (;;) {
        char* name = nullptr;
        char* header = nullptr;
        unsigned char* data = nullptr;
        long length = 0;
        if (PEM_read_bio(bio.get(), &name, &header, &data, &length) != 1) {
            ERR_clear_error();
            return std::nullopt;
        }
        const OpenSslBytes nameOwner(name);
        const OpenSslBytes headerOwner(header);
        const OpenSslBytes dataOwner(data);
        if (label == name) {
            return Blob(data, data + length);
        }
    }
}

}  // namespace integrity_check_tool::vorn
