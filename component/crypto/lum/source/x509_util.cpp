#include "x509_util.h"

#include <climits>
#include <ctime>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

namespace crypto::lum {

namespace {

/// d2i reads at most `long` bytes; larger inputs cannot be one object here.
template <class Ptr, class T, T* (*Decode)(T**, const unsigned char**, long)>
Ptr DecodeExactly(ByteSpan der)
{
    if (der.empty() || der.size() > static_cast<std::size_t>(LONG_MAX)) {
        return nullptr;
    }
    const unsigned char* cursor = der.data();
    Ptr object(Decode(nullptr, &cursor, static_cast<long>(der.size())));
    if (object && cursor != der.data() + der.size()) {
        object.reset();
    }
    return object;
}

}  // namespace

X509Ptr ParseCertificate(ByteSpan der)
{
    return DecodeExactly<X509Ptr, X509, d2i_X509>(der);
}

X509CrlPtr ParseCrl(ByteSpan der)
{
    return DecodeExactly<X509CrlPtr, X509_CRL, d2i_X509_CRL>(der);
}

CmsPtr ParseCms(ByteSpan der)
{
    return DecodeExactly<CmsPtr, CMS_ContentInfo, d2i_CMS_ContentInfo>(der);
}

Bytes SerialMagnitude(const X509& certificate)
{
    const BignumPtr serial(ASN1_INTEGER_to_BN(X509_get0_serialNumber(&certificate), nullptr));
    if (!serial) {
        return {};
    }
    Bytes bytes(static_cast<std::size_t>(BN_num_bytes(serial.get())));
    BN_bn2bin(serial.get(), bytes.data());
    return bytes;
}

const EVP_MD* SupportedDigest(const X509_ALGOR& algorithm)
{
    const ASN1_OBJECT* oid = nullptr;
    X509_ALGOR_get0(&oid, nullptr, nullptr, &algorithm);
    return SupportedDigest(OBJ_obj2nid(oid));
}

const EVP_MD* SupportedDigest(int nid)
{
    switch (nid) {
    case NID_sha256:
        return EVP_sha256();
    case NID_sha384:
        return EVP_sha384();
    case NID_sha512:
        return EVP_sha512();
    default:
        return nullptr;
    }
}

const EVP_MD* SignerInfoDigest(const X509_ALGOR* digestAlgorithm,
                               const X509_ALGOR* signatureAlgorithm)
{
    const EVP_MD* digest = digestAlgorithm != nullptr ? SupportedDigest(*digestAlgorithm) : nullptr;
    if (digest == nullptr || signatureAlgorithm == nullptr) {
        return nullptr;
    }
    const ASN1_OBJECT* oid = nullptr;
    X509_ALGOR_get0(&oid, nullptr, nullptr, signatureAlgorithm);
    int named = NID_undef;
    if (OBJ_find_sigid_algs(OBJ_obj2nid(oid), &named, nullptr) == 1 && named != NID_undef &&
        named != EVP_MD_get_type(digest)) {
        return nullptr;
    }
    return digest;
}

std::string Hex(ByteSpan bytes)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

std::vector<int> RevokedDepths(X509_CRL& crl, STACK_OF(X509) & chain)
{
    std::vector<int> depths;
    for (int i = 0; i + 1 < sk_X509_num(&chain); ++i) {
        X509_REVOKED* entry = nullptr;
        if (X509_CRL_get0_by_serial(&crl, &entry,
                                    X509_get0_serialNumber(sk_X509_value(&chain, i))) == 1) {
            depths.push_back(i);
        }
    }
    return depths;
}

std::string NameText(const X509_NAME& name)
{
    const BioPtr bio(BIO_new(BIO_s_mem()));
    if (!bio || X509_NAME_print_ex(bio.get(), &name, 0, XN_FLAG_RFC2253) < 0) {
        return "?";
    }
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return size > 0 ? std::string(data, static_cast<std::size_t>(size)) : std::string();
}

std::string TimeText(const ASN1_TIME* time)
{
    std::tm parts{};
    if (time == nullptr || ASN1_TIME_to_tm(time, &parts) != 1) {
        return "?";
    }
    char text[32];
    if (std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts) == 0) {
        return "?";
    }
    return text;
}

}  // namespace crypto::lum
