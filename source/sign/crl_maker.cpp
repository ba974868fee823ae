#include "sign/crl_maker.h"

#include <algorithm>
#include <cctype>
#include <ctime>
#include <set>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include "exception.h"
#include "sign/credentials.h"
#include "sign/messages.h"
#include "sign/openssl_error.h"

namespace integrity_check_tool::sign {

using crypto::Asn1IntegerPtr;
using crypto::Asn1TimePtr;
using crypto::BignumPtr;
using crypto::BioPtr;
using crypto::X509CrlPtr;
using crypto::X509ExtensionPtr;
using crypto::X509RevokedPtr;

namespace {

// Serial numbers are at most 20 octets (RFC 5280, 4.1.2.2); allow some slack
// for non-conforming issuers but never an unbounded number.
constexpr std::size_t kMaxSerialDigits = 64;

[[noreturn]] void Fail()
{
    ICT_THROW(messages::kCrlFailed, TakeOpenSslError());
}

/// The serial's hexadecimal digits, upper case and without leading zeros.
std::string NormaliseSerial(const std::string& text)
{
    std::string digits = text;
    for (const char* prefix : {"serial=", "0x", "0X"}) {
        if (digits.starts_with(prefix)) {
            digits.erase(0, std::char_traits<char>::length(prefix));
            break;
        }
    }
    const bool hex = std::all_of(digits.begin(), digits.end(), [](char c) {
        return std::isxdigit(static_cast<unsigned char>(c)) != 0;
    });
    if (digits.empty() || !hex || digits.size() > kMaxSerialDigits) {
        ICT_THROW(messages::kBadSerial, text);
    }
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    std::transform(digits.begin(), digits.end(), digits.begin(), [](char c) {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    });
    return digits;
}

Asn1IntegerPtr SerialToInteger(const std::string& digits)
{
    BIGNUM* raw = nullptr;
    if (BN_hex2bn(&raw, digits.c_str()) != static_cast<int>(digits.size())) {
        BN_free(raw);
        Fail();
    }
    const BignumPtr number(raw);
    Asn1IntegerPtr integer(BN_to_ASN1_INTEGER(number.get(), nullptr));
    if (!integer) {
        Fail();
    }
    return integer;
}

Asn1TimePtr TimeAfter(std::time_t start, int days)
{
    Asn1TimePtr time(X509_time_adj_ex(nullptr, days, 0, &start));
    if (!time) {
        Fail();
    }
    return time;
}

/// EdDSA keys sign the message itself; the others get SHA-256.
const EVP_MD* DigestFor(EVP_PKEY* key)
{
    int nid = NID_undef;
    if (EVP_PKEY_get_default_digest_nid(key, &nid) == 2 && nid == NID_undef) {
        return nullptr;
    }
    return EVP_sha256();
}

void AddExtensions(X509_CRL& crl, X509& issuer)
{
    // The CRL number only has to grow from one CRL to the next.
    const Asn1IntegerPtr number(ASN1_INTEGER_new());
    if (!number ||
        ASN1_INTEGER_set_int64(number.get(), static_cast<std::int64_t>(std::time(nullptr))) != 1 ||
        X509_CRL_add1_ext_i2d(&crl, NID_crl_number, number.get(), 0, 0) != 1) {
        Fail();
    }
    // Names the root's key when it has an identifier, like `openssl ca`.
    X509V3_CTX context;
    X509V3_set_ctx(&context, &issuer, nullptr, nullptr, &crl, 0);
    char keyId[] = "keyid";
    const X509ExtensionPtr authority(
        X509V3_EXT_conf_nid(nullptr, &context, NID_authority_key_identifier, keyId));
    if (authority && X509_CRL_add_ext(&crl, authority.get(), -1) != 1) {
        Fail();
    }
    ERR_clear_error();
}

}  // namespace

CrlMaker::CrlMaker(const Path& caCertificate, const Path& caKey,
                   const std::optional<Path>& passFile)
    : certificate_(LoadCertificate(caCertificate)), key_(LoadPrivateKey(caKey, passFile))
{
    if (X509_check_private_key(certificate_.get(), key_.get()) != 1) {
        ERR_clear_error();
        ICT_THROW(messages::kKeyDoesNotMatch, caKey.string(), caCertificate.string());
    }
    // The checker verifies a CRL under its root alone; a CRL from anything
    // else would only make the container refuse it later.
    const std::uint32_t flags = X509_get_extension_flags(certificate_.get());
    const bool crlSigner =
        (flags & EXFLAG_KUSAGE) == 0 || (X509_get_key_usage(certificate_.get()) & KU_CRL_SIGN) != 0;
    if ((flags & EXFLAG_CA) == 0 || !crlSigner) {
        ICT_THROW(messages::kNotCrlIssuer, caCertificate.string(), SubjectOf(*certificate_));
    }
}

X509CrlPtr CrlMaker::Make(const std::vector<std::string>& serials, int days) const
{
    std::set<std::string> unique;
    for (const std::string& serial : serials) {
        unique.insert(NormaliseSerial(serial));
    }

    X509CrlPtr crl(X509_CRL_new());
    // One clock reading, so that the next update is exactly `days` later.
    const std::time_t start = std::time(nullptr);
    const Asn1TimePtr now = TimeAfter(start, 0);
    const Asn1TimePtr next = TimeAfter(start, days);
    if (!crl || X509_CRL_set_version(crl.get(), X509_CRL_VERSION_2) != 1 ||
        X509_CRL_set_issuer_name(crl.get(), X509_get_subject_name(certificate_.get())) != 1 ||
        X509_CRL_set1_lastUpdate(crl.get(), now.get()) != 1 ||
        X509_CRL_set1_nextUpdate(crl.get(), next.get()) != 1) {
        Fail();
    }
    for (const std::string& digits : unique) {
        X509RevokedPtr revoked(X509_REVOKED_new());
        const Asn1IntegerPtr serial = SerialToInteger(digits);
        if (!revoked || X509_REVOKED_set_serialNumber(revoked.get(), serial.get()) != 1 ||
            X509_REVOKED_set_revocationDate(revoked.get(), now.get()) != 1 ||
            X509_CRL_add0_revoked(crl.get(), revoked.get()) != 1) {
            Fail();
        }
        static_cast<void>(revoked.release());  // the CRL owns it now
    }
    AddExtensions(*crl, *certificate_);
    if (X509_CRL_sort(crl.get()) != 1 ||
        X509_CRL_sign(crl.get(), key_.get(), DigestFor(key_.get())) <= 0) {
        Fail();
    }
    return crl;
}

std::string CrlMaker::ToPem(X509_CRL& crl)
{
    const BioPtr bio(BIO_new(BIO_s_mem()));
    if (!bio || PEM_write_bio_X509_CRL(bio.get(), &crl) != 1) {
        Fail();
    }
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return {data, static_cast<std::size_t>(size)};
}

}  // namespace integrity_check_tool::sign
