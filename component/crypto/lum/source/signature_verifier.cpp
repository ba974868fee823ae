#include "signature_verifier.h"

#include <algorithm>
#include <ctime>
#include <new>
#include <optional>

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include "lum/chain_policy.h"
#include "signed_data_bounds.h"
#include "x509_util.h"

namespace crypto::lum {

namespace {

/// The one SignerInfo of a detached SignedData; nullptr for anything else.
CMS_SignerInfo* SoleSignerInfo(CMS_ContentInfo* cms)
{
    if (cms == nullptr || OBJ_obj2nid(CMS_get0_type(cms)) != NID_pkcs7_signed ||
        CMS_is_detached(cms) != 1) {
        return nullptr;
    }
    STACK_OF(CMS_SignerInfo)* signerInfos = CMS_get0_SignerInfos(cms);
    if (signerInfos == nullptr || sk_CMS_SignerInfo_num(signerInfos) != 1) {
        return nullptr;
    }
    return sk_CMS_SignerInfo_value(signerInfos, 0);
}

const EVP_MD* SignerDigest(CMS_SignerInfo& signerInfo)
{
    X509_ALGOR* digest = nullptr;
    X509_ALGOR* signature = nullptr;
    CMS_SignerInfo_get0_algs(&signerInfo, nullptr, nullptr, &digest, &signature);
    return SignerInfoDigest(digest, signature);
}

/// The value of a signed attribute that occurs once with one value of `type`.
template <class T>
const T* SignedAttribute(CMS_SignerInfo& signerInfo, const ASN1_OBJECT* oid, int type)
{
    // -3: more than one such attribute, or more than one value, is an error.
    return static_cast<const T*>(CMS_signed_get0_data_by_OBJ(&signerInfo, oid, -3, type));
}

bool DigestMatches(ByteSpan content, const EVP_MD* digest, const ASN1_OCTET_STRING& expected)
{
    unsigned char actual[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    return EVP_Digest(content.data(), content.size(), actual, &size, digest, nullptr) == 1 &&
           static_cast<int>(size) == ASN1_STRING_length(&expected) &&
           CRYPTO_memcmp(actual, ASN1_STRING_get0_data(&expected), size) == 0;
}

X509* FindSigner(CMS_SignerInfo& signerInfo, STACK_OF(X509) * certificates)
{
    for (int i = 0; certificates != nullptr && i < sk_X509_num(certificates); ++i) {
        X509* certificate = sk_X509_value(certificates, i);
        if (CMS_SignerInfo_cert_cmp(&signerInfo, certificate) == 0) {
            return certificate;
        }
    }
    return nullptr;
}

LumSignerDetails SignerDetails(const X509& signer)
{
    LumSignerDetails details{NameText(*X509_get_subject_name(&signer)), "?", 0};
    const BignumPtr serial(ASN1_INTEGER_to_BN(X509_get0_serialNumber(&signer), nullptr));
    if (serial) {
        char* hex = BN_bn2hex(serial.get());
        if (hex != nullptr) {
            details.serial = hex;
            OPENSSL_free(hex);
        }
    }
    std::tm parts{};
    if (ASN1_TIME_to_tm(X509_get0_notAfter(&signer), &parts) == 1) {
        details.notAfter = timegm(&parts);
    }
    return details;
}

std::int32_t ResultForFlags(std::uint32_t value, bool attributeMatched)
{
    if ((value & flags::kFailureMask) == 0) {
        return lumOk;
    }
    if ((value & flags::kMalformedContent) != 0) {
        return lumErrInvalidFormat;
    }
    if (!attributeMatched) {
        return lumErrNotMatched;
    }
    if ((value & flags::kSignatureValueNotMatched) != 0) {
        return lumErrInvalidSignature;
    }
    return lumErrUntrusted;
}

}  // namespace

LumSignatureVerifierImpl::LumSignatureVerifierImpl(zel::ITracerPtr tracer,
                                                   const std::vector<Bytes>& roots,
                                                   const std::vector<Bytes>& tsaRoots,
                                                   ILumRevocationCheckerPtr checker,
                                                   std::unique_ptr<LibraryReference> library)
    : zel::TracerProvider(std::move(tracer)), library_(std::move(library)), validator_(roots),
      timestamps_(tsaRoots, checker), checker_(std::move(checker))
{
}

std::int32_t LumSignatureVerifierImpl::VerifyObject(ByteSpan object,
                                                    ILumSignatureVerificationResultPtr& result)
{
    const auto outcome = zel::MakeIntrusive<VerificationResult>();
    result = outcome;
    return Verify(object, nullptr, *outcome);
}

std::int32_t LumSignatureVerifierImpl::VerifyObjectWithAdditionalContent(
    ByteSpan object, const std::string& oid, ByteSpan additionalContent,
    ILumSignatureVerificationResultPtr& result)
{
    const Asn1ObjectPtr attributeOid(OBJ_txt2obj(oid.c_str(), 1));
    if (!attributeOid) {
        ERR_clear_error();
        return lumErrInvalidArgument;
    }
    const auto outcome = zel::MakeIntrusive<VerificationResult>();
    result = outcome;
    const RequiredAttribute attribute{attributeOid.get(), additionalContent};
    return Verify(object, &attribute, *outcome);
}

std::int32_t LumSignatureVerifierImpl::Verify(ByteSpan object, const RequiredAttribute* attribute,
                                              VerificationResult& result) const
{
    struct ErrorQueueCleaner {
        ~ErrorQueueCleaner() { ERR_clear_error(); }
    } cleaner;

    const auto layout =
        LocateSignature(object.size(), object.last(std::min(object.size(), kTrailerSize)));
    if (!layout) {
        result.AddFlags(flags::kMalformedContent);
        const bool hasMagic = object.size() >= kTrailerSize &&
                              std::equal(kSignatureMagic.begin(), kSignatureMagic.end(),
                                         object.end() - kSignatureMagic.size());
        Trace(kTraceDebug,
              hasMagic ? "Signature length does not fit the object" : "No signature found");
        return hasMagic ? lumErrInvalidFormat : lumSignatureNotFound;
    }
    // The whole object is in memory, so its offsets fit size_t.
    const auto contentSize = static_cast<std::size_t>(layout->contentSize);
    result.SetContentSize(layout->contentSize);
    const ByteSpan der = object.subspan(contentSize, layout->derSize);
    const char* excess = SignedDataExcess(der);
    if (excess != nullptr) {
        Trace(kTraceDebug, "Signature refused before decoding: %1%", excess);
    }
    const CmsPtr cms = excess == nullptr ? ParseCms(der) : nullptr;
    CMS_SignerInfo* signerInfo = SoleSignerInfo(cms.get());
    if (signerInfo == nullptr) {
        result.AddFlags(flags::kMalformedContent);
        Trace(kTraceDebug, "Signature is not a detached SignedData with one signer");
        return lumErrInvalidFormat;
    }
    result.AddFlags(flags::kSigned);

    const EVP_MD* digest = SignerDigest(*signerInfo);
    const auto* messageDigest = SignedAttribute<ASN1_OCTET_STRING>(
        *signerInfo, OBJ_nid2obj(NID_pkcs9_messageDigest), V_ASN1_OCTET_STRING);
    const auto* contentType = SignedAttribute<ASN1_OBJECT>(
        *signerInfo, OBJ_nid2obj(NID_pkcs9_contentType), V_ASN1_OBJECT);
    if (digest == nullptr || messageDigest == nullptr || contentType == nullptr ||
        OBJ_cmp(contentType, CMS_get0_eContentType(cms.get())) != 0) {
        result.AddFlags(flags::kMalformedContent);
        Trace(kTraceDebug, "Signature lacks a supported digest or its signed attributes");
        return lumErrInvalidFormat;
    }

    const CertificateStackPtr certificates(CMS_get1_certs(cms.get()));
    X509* signer = FindSigner(*signerInfo, certificates.get());
    if (signer == nullptr) {
        result.AddFlags(flags::kIncompleteChain);
        Trace(kTraceDebug, "Signer certificate is not in the signature");
        return lumErrUntrusted;
    }
    CMS_SignerInfo_set1_signer_cert(signerInfo, signer);
    result.SetSigner(SignerDetails(*signer));
    // The content is hashed once, here; the signature covers the signed
    // attributes, which carry that hash.
    if (!DigestMatches(object.first(contentSize), digest, *messageDigest) ||
        CMS_SignerInfo_verify(signerInfo) != 1) {
        result.AddFlags(flags::kSignatureValueNotMatched);
    }
    bool attributeMatched = true;
    if (attribute != nullptr) {
        const auto* value =
            SignedAttribute<ASN1_STRING>(*signerInfo, attribute->oid, V_ASN1_BMPSTRING);
        attributeMatched = value != nullptr &&
                           std::equal(attribute->value.begin(), attribute->value.end(),
                                      ASN1_STRING_get0_data(value),
                                      ASN1_STRING_get0_data(value) + ASN1_STRING_length(value));
        if (!attributeMatched) {
            result.AddFlags(flags::kSignatureValueNotMatched);
            Trace(kTraceDebug, "Signed attribute of the additional content is absent or differs");
        }
    }
    TimestampResult timestamp;
    try {
        timestamp = CheckTimestamp(*signerInfo);
        if (timestamp.present && timestamp.flags == 0) {
            result.SetTimestampTime(timestamp.time);
        }
        // A good token moves the signer's check to the time it proves; a bad
        // one refuses the signature through its flags, never falling back to now.
        result.AddFlags(timestamp.flags |
                        CheckSigner(*signer, certificates.get(),
                                    timestamp.present && timestamp.flags == 0
                                        ? std::optional<std::time_t>(timestamp.time)
                                        : std::nullopt));
    } catch (const std::bad_alloc&) {
        result.AddFlags(flags::kIncompleteChain);
        return lumErrBadAlloc;
    }
    const std::int32_t outcome = ResultForFlags(result.Flags(), attributeMatched);
    if (outcome == lumOk) {
        result.AddFlags(flags::kTrusted | flags::kEmbedded |
                        (timestamp.present ? flags::kCounterSignatureUsed : 0));
    }
    return outcome;
}

TimestampResult LumSignatureVerifierImpl::CheckTimestamp(CMS_SignerInfo& signerInfo) const
{
    TimestampResult timestamp = timestamps_.Check(signerInfo, std::time(nullptr));
    if (timestamp.present) {
        for (const std::string& failure : timestamp.failures) {
            Trace(kTraceDebug, "Timestamp token refused: %1%", failure);
        }
        if (timestamp.flags == 0) {
            const Asn1TimePtr time(ASN1_TIME_set(nullptr, timestamp.time));
            Trace(kTraceDebug, "Timestamp token is good; checking the signer at %1%",
                  TimeText(time.get()));
        }
    }
    return timestamp;
}

std::uint32_t LumSignatureVerifierImpl::CheckSigner(X509& signer, STACK_OF(X509) * certificates,
                                                    std::optional<std::time_t> at) const
{
    const ChainResult chain = validator_.Validate(signer, certificates, at);
    for (const std::string& error : chain.errors) {
        Trace(kTraceDebug, "Certificate chain: %1%", error);
    }
    std::uint32_t result = chain.flags;

    // Chain building runs with the default purpose; code signing is ours to check.
    const std::uint32_t extensions = X509_get_extension_flags(&signer);
    if ((extensions & EXFLAG_INVALID) != 0) {
        result |= flags::kInvalidExtension;
    }
    if ((extensions & EXFLAG_XKUSAGE) == 0 ||
        (X509_get_extended_key_usage(&signer) & XKU_CODE_SIGN) == 0) {
        result |= flags::kInvalidPurpose;
    }
    if ((extensions & EXFLAG_KUSAGE) != 0 &&
        (X509_get_key_usage(&signer) & KU_DIGITAL_SIGNATURE) == 0) {
        result |= flags::kInvalidUsage;
    }
    const int length = chain.chain ? sk_X509_num(chain.chain.get()) : 0;
    for (int depth = 0; depth < length; ++depth) {
        X509& certificate = *sk_X509_value(chain.chain.get(), depth);
        for (const PolicyViolation& violation :
             CodeSigningViolations(certificate, PositionInChain(certificate, depth))) {
            Trace(kTraceDebug, "Certificate chain: depth %1%: %2%", depth, violation.reason);
            result |= violation.flag;
        }
    }

    // One CRL per hierarchy, signed by its root, lists every revoked
    // certificate below the root.
    const X509* root =
        length > 0 ? validator_.FindRoot(*sk_X509_value(chain.chain.get(), length - 1)) : nullptr;
    X509_CRL* crl = root != nullptr && checker_ ? checker_->FindCrl(*root) : nullptr;
    if (crl == nullptr) {
        return result | flags::kRevocationCheckSkipped;
    }
    for (const int depth : RevokedDepths(*crl, *chain.chain)) {
        Trace(kTraceDebug, "Certificate at depth %1% is revoked", depth);
        result |= flags::kRevoked;
    }
    return result;
}

}  // namespace crypto::lum
