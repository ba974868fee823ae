#include "timestamp_checker.h"

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/ts.h>
#include <openssl/x509v3.h>

#include "lum/flags.h"
#include "x509_util.h"

namespace crypto::lum {

namespace {

/// The DER of the token, which must be the one value of the one
/// id-aa-timeStampToken attribute; empty when the attribute is malformed.
ByteSpan TokenDer(CMS_SignerInfo& signerInfo, int index)
{
    if (CMS_unsigned_get_attr_by_NID(&signerInfo, NID_id_smime_aa_timeStampToken, index) >= 0) {
        return {};  // a second token: which one would count?
    }
    X509_ATTRIBUTE* attribute = CMS_unsigned_get_attr(&signerInfo, index);
    if (attribute == nullptr || X509_ATTRIBUTE_count(attribute) != 1) {
        return {};
    }
    const ASN1_TYPE* value = X509_ATTRIBUTE_get0_type(attribute, 0);
    if (value == nullptr || value->type != V_ASN1_SEQUENCE) {
        return {};
    }
    const ASN1_STRING* sequence = value->value.sequence;
    return {ASN1_STRING_get0_data(sequence),
            static_cast<std::size_t>(ASN1_STRING_length(sequence))};
}

Pkcs7Ptr ParseToken(ByteSpan der)
{
    if (der.empty() || der.size() > static_cast<std::size_t>(INT32_MAX)) {
        return nullptr;
    }
    const unsigned char* cursor = der.data();
    Pkcs7Ptr token(d2i_PKCS7(nullptr, &cursor, static_cast<long>(der.size())));
    return token && cursor == der.data() + der.size() ? std::move(token) : nullptr;
}

/// Seconds since the epoch of an ASN.1 time; false when it does not convert.
bool ToTimeT(const ASN1_TIME& time, std::time_t& seconds)
{
    const Asn1TimePtr epoch(ASN1_TIME_set(nullptr, 0));
    int days = 0;
    int rest = 0;
    if (!epoch || ASN1_TIME_diff(&days, &rest, epoch.get(), &time) != 1) {
        return false;
    }
    seconds = static_cast<std::time_t>(days) * 86400 + rest;
    return true;
}

/// Whether the imprint is the hash of the signature value (RFC 3161, Appendix A).
bool ImprintMatches(TS_MSG_IMPRINT& imprint, CMS_SignerInfo& signerInfo)
{
    const X509_ALGOR* algorithm = TS_MSG_IMPRINT_get_algo(&imprint);
    const EVP_MD* digest = algorithm != nullptr ? SupportedDigest(*algorithm) : nullptr;
    const ASN1_OCTET_STRING* expected = TS_MSG_IMPRINT_get_msg(&imprint);
    const ASN1_OCTET_STRING* signature = CMS_SignerInfo_get0_signature(&signerInfo);
    if (digest == nullptr || expected == nullptr || signature == nullptr) {
        return false;
    }
    unsigned char actual[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    return EVP_Digest(ASN1_STRING_get0_data(signature),
                      static_cast<std::size_t>(ASN1_STRING_length(signature)), actual, &size,
                      digest, nullptr) == 1 &&
           static_cast<int>(size) == ASN1_STRING_length(expected) &&
           CRYPTO_memcmp(actual, ASN1_STRING_get0_data(expected), size) == 0;
}

/// The certificate that signed the token, from those it carries.
X509* TokenSigner(PKCS7& token)
{
    STACK_OF(X509)* signers = PKCS7_get0_signers(&token, nullptr, 0);
    X509* signer =
        signers != nullptr && sk_X509_num(signers) == 1 ? sk_X509_value(signers, 0) : nullptr;
    sk_X509_free(signers);
    return signer;
}

/// Whether the token's one signer signed over a digest we accept.
bool TokenDigestSupported(PKCS7& token)
{
    STACK_OF(PKCS7_SIGNER_INFO)* signerInfos = PKCS7_get_signer_info(&token);
    if (signerInfos == nullptr || sk_PKCS7_SIGNER_INFO_num(signerInfos) != 1) {
        return false;
    }
    X509_ALGOR* digest = nullptr;
    X509_ALGOR* signature = nullptr;
    PKCS7_SIGNER_INFO_get0_algs(sk_PKCS7_SIGNER_INFO_value(signerInfos, 0), nullptr, &digest,
                                &signature);
    return SignerInfoDigest(digest, signature) != nullptr;
}

STACK_OF(X509) * TokenCertificates(PKCS7& token)
{
    return PKCS7_type_is_signed(&token) && token.d.sign != nullptr ? token.d.sign->cert : nullptr;
}

}  // namespace

TimestampChecker::TimestampChecker(const std::vector<Bytes>& roots,
                                   ILumRevocationCheckerPtr checker)
    : validator_(roots), checker_(std::move(checker))
{
}

TimestampResult TimestampChecker::Check(CMS_SignerInfo& signerInfo, std::time_t now) const
{
    TimestampResult result;
    const int index = CMS_unsigned_get_attr_by_NID(&signerInfo, NID_id_smime_aa_timeStampToken, -1);
    if (index < 0) {
        return result;
    }
    result.present = true;
    const auto fail = [&result](std::uint32_t flag, std::string reason) {
        result.flags |= flag;
        result.failures.push_back(std::move(reason));
        return result;
    };

    const Pkcs7Ptr token = ParseToken(TokenDer(signerInfo, index));
    const TsTstInfoPtr info(token ? PKCS7_to_TS_TST_INFO(token.get()) : nullptr);
    const ASN1_GENERALIZEDTIME* time = info ? TS_TST_INFO_get_time(info.get()) : nullptr;
    if (time == nullptr || !ToTimeT(*time, result.time)) {
        return fail(flags::kMalformedContent,
                    "it is not one signed TSTInfo in one id-aa-timeStampToken attribute");
    }
    if (!TokenDigestSupported(*token)) {
        return fail(flags::kMalformedContent,
                    "its signature is not over a SHA-256, SHA-384 or SHA-512 digest");
    }
    if (result.time > now) {
        return fail(flags::kExpired, "its time " + TimeText(time) + " lies in the future");
    }
    TS_MSG_IMPRINT* imprint = TS_TST_INFO_get_msg_imprint(info.get());
    if (imprint == nullptr || !ImprintMatches(*imprint, signerInfo)) {
        return fail(flags::kSignatureValueNotMatched,
                    "its imprint is not the hash of this signature's value");
    }
    result.flags |= CheckAuthority(*token, result.time, result.failures);
    return result;
}

std::uint32_t TimestampChecker::CheckAuthority(PKCS7& token, std::time_t time,
                                               std::vector<std::string>& failures) const
{
    X509* signer = TokenSigner(token);
    if (signer == nullptr) {
        failures.emplace_back("the TSA certificate is not in the token");
        return flags::kIncompleteChain;
    }
    STACK_OF(X509)* certificates = TokenCertificates(token);
    const ChainResult chain = validator_.Validate(*signer, certificates, time);
    for (const std::string& error : chain.errors) {
        failures.push_back("TSA certificate chain at the token's time: " + error);
    }
    std::uint32_t result = chain.flags;
    // Time stamping demands the timeStamping usage alone, marked critical.
    if (X509_check_purpose(signer, X509_PURPOSE_TIMESTAMP_SIGN, 0) != 1) {
        failures.emplace_back("the TSA certificate lacks the critical timeStamping extended key "
                              "usage");
        result |= flags::kInvalidPurpose;
    }
    if (result != 0) {
        return result;
    }

    // The chain ends at a trusted root: check the token's signature and its
    // binding to the TSA certificate against that root alone.
    const int length = sk_X509_num(chain.chain.get());
    X509* root = sk_X509_value(chain.chain.get(), length - 1);
    const X509StorePtr store(X509_STORE_new());
    if (!store || X509_STORE_add_cert(store.get(), root) != 1) {
        throw std::bad_alloc();
    }
    X509_VERIFY_PARAM_set_time(X509_STORE_get0_param(store.get()), time);
    if (TS_RESP_verify_signature(&token, certificates, store.get(), nullptr) != 1) {
        ERR_clear_error();
        failures.emplace_back("the token's signature does not verify");
        return flags::kSignatureValueNotMatched;
    }

    // A TSA root needs no revocation database; one it has applies.
    X509_CRL* crl = checker_ ? checker_->FindCrl(*root) : nullptr;
    if (crl != nullptr) {
        for (const int depth : RevokedDepths(*crl, *chain.chain)) {
            failures.push_back("the TSA certificate at depth " + std::to_string(depth) +
                               " is revoked");
            result |= flags::kRevoked;
        }
    }
    return result;
}

}  // namespace crypto::lum
