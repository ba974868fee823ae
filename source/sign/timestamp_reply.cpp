#include "sign/timestamp_reply.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include <openssl/err.h>
#include <openssl/x509v3.h>

#include "exception.h"
#include "sign/credentials.h"
#include "sign/messages.h"
#include "sign/openssl_error.h"
#include "signature/lum_roots.h"

namespace integrity_check_tool::sign {

using crypto::BioPtr;
using crypto::X509StoreCtxPtr;
using crypto::X509StorePtr;

namespace {

using CertificateViewsPtr =
    std::unique_ptr<STACK_OF(X509), decltype([](STACK_OF(X509) * stack) { sk_X509_free(stack); })>;

const char* StatusName(long status)
{
    static constexpr const char* kNames[] = {"granted",           "grantedWithMods",
                                             "rejection",         "waiting",
                                             "revocationWarning", "revocationNotification"};
    return status >= 0 && status < 6 ? kNames[status] : "unknown";
}

std::string StatusText(const TS_STATUS_INFO& info)
{
    const STACK_OF(ASN1_UTF8STRING)* texts = TS_STATUS_INFO_get0_text(&info);
    std::string joined;
    for (int i = 0; i < sk_ASN1_UTF8STRING_num(texts); ++i) {
        const ASN1_UTF8STRING* text = sk_ASN1_UTF8STRING_value(texts, i);
        joined += (joined.empty() ? "" : "; ") +
                  std::string(reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)),
                              static_cast<std::size_t>(ASN1_STRING_length(text)));
    }
    return joined.empty() ? "no status text" : joined;
}

std::string TimeText(const ASN1_GENERALIZEDTIME& time)
{
    const BioPtr bio(BIO_new(BIO_s_mem()));
    if (!bio || ASN1_TIME_print_ex(bio.get(), &time, ASN1_DTFLGS_ISO8601) != 1) {
        return "?";
    }
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return std::string(data, static_cast<std::size_t>(size));
}

std::time_t ToTimeT(const ASN1_GENERALIZEDTIME& time)
{
    std::tm parts{};
    if (ASN1_TIME_to_tm(&time, &parts) != 1) {
        ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
    }
    return timegm(&parts);
}

/// The compiled-in TSA roots, checking at `time`.
X509StorePtr TsaStore(std::time_t time)
{
    X509StorePtr store(X509_STORE_new());
    if (!store) {
        ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
    }
    for (const Blob& der : lum::TsaRoots()) {
        const unsigned char* cursor = der.data();
        const crypto::X509Ptr root(d2i_X509(nullptr, &cursor, static_cast<long>(der.size())));
        if (!root || X509_STORE_add_cert(store.get(), root.get()) != 1) {
            ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
        }
    }
    X509_VERIFY_PARAM_set_time(X509_STORE_get0_param(store.get()), time);
    return store;
}

bool IsTimeStamping(X509* certificate)
{
    const int at = X509_get_ext_by_NID(certificate, NID_ext_key_usage, -1);
    return at >= 0 && X509_EXTENSION_get_critical(X509_get_ext(certificate, at)) == 1 &&
           (X509_get_extension_flags(certificate) & EXFLAG_XKUSAGE) != 0 &&
           (X509_get_extended_key_usage(certificate) & XKU_TIMESTAMP) != 0;
}

}  // namespace

TimestampReply::TimestampReply(std::span<const std::uint8_t> reply, std::string source)
    : source_(std::move(source))
{
    const unsigned char* cursor = reply.data();
    reply_.reset(d2i_TS_RESP(nullptr, &cursor, static_cast<long>(reply.size())));
    if (!reply_ || cursor != reply.data() + reply.size()) {
        ICT_THROW(messages::kCantReadReply, source_,
                  reply_ ? std::string("bytes after its end") : TakeOpenSslError());
    }
}

Blob TimestampReply::VerifiedToken(const LumSignedFile& file, const TimestampRequest* request,
                                   const std::string& requestName) const
{
    CheckStatus();
    PKCS7* token = TS_RESP_get_token(reply_.get());
    TS_TST_INFO* info = TS_RESP_get_tst_info(reply_.get());
    if (token == nullptr || info == nullptr) {
        ICT_THROW(messages::kReplyWithoutToken, source_);
    }

    const TS_MSG_IMPRINT* imprint = TS_TST_INFO_get_msg_imprint(info);
    const ASN1_OBJECT* algorithm = nullptr;
    X509_ALGOR_get0(&algorithm, nullptr, nullptr,
                    TS_MSG_IMPRINT_get_algo(const_cast<TS_MSG_IMPRINT*>(imprint)));
    const ASN1_OCTET_STRING* digest = TS_MSG_IMPRINT_get_msg(const_cast<TS_MSG_IMPRINT*>(imprint));
    const Blob& expected = file.Imprint();
    if (OBJ_obj2nid(algorithm) != NID_sha256 ||
        static_cast<std::size_t>(ASN1_STRING_length(digest)) != expected.size() ||
        !std::equal(expected.begin(), expected.end(), ASN1_STRING_get0_data(digest))) {
        ICT_THROW(messages::kImprintMismatch, source_, file.GetPath().string());
    }
    if (request != nullptr) {
        CheckNonce(*request, requestName);
    }

    const ASN1_GENERALIZEDTIME& time = *TS_TST_INFO_get_time(info);
    // The checker refuses a token from the future, so the tool does too.
    std::time_t now = std::time(nullptr);
    if (X509_cmp_time(&time, &now) > 0) {
        ICT_THROW(messages::kFutureTime, source_, TimeText(time));
    }
    CheckSigner(Signer(), time);
    CheckSignature(time);

    return EncodeDer([&](unsigned char** out) { return i2d_PKCS7(token, out); });
}

void TimestampReply::CheckStatus() const
{
    const TS_STATUS_INFO* info = TS_RESP_get_status_info(reply_.get());
    const long status = ASN1_INTEGER_get(TS_STATUS_INFO_get0_status(info));
    if (status != TS_STATUS_GRANTED && status != TS_STATUS_GRANTED_WITH_MODS) {
        ICT_THROW(messages::kReplyNotGranted, source_,
                  std::string(StatusName(status)) + " (" + std::to_string(status) + ")",
                  StatusText(*info));
    }
}

void TimestampReply::CheckNonce(const TimestampRequest& request,
                                const std::string& requestName) const
{
    const ASN1_INTEGER* expected = request.Nonce();
    const ASN1_INTEGER* nonce = TS_TST_INFO_get_nonce(TS_RESP_get_tst_info(reply_.get()));
    if (expected != nullptr && nonce == nullptr) {
        ICT_THROW(messages::kNotTheAnswer, source_, requestName, "it carries no nonce");
    }
    if (expected != nullptr && ASN1_INTEGER_cmp(expected, nonce) != 0) {
        ICT_THROW(messages::kNotTheAnswer, source_, requestName, "its nonce differs");
    }
}

X509* TimestampReply::Signer() const
{
    PKCS7* token = TS_RESP_get_token(reply_.get());
    if (PKCS7_type_is_signed(token) == 0) {
        ICT_THROW(messages::kBadTokenSignature, source_, "not a signed token");
    }
    const CertificateViewsPtr signers(PKCS7_get0_signers(token, nullptr, 0));
    ERR_clear_error();
    if (!signers || sk_X509_num(signers.get()) != 1) {
        ICT_THROW(messages::kNoTsaCertificate, source_);
    }
    return sk_X509_value(signers.get(), 0);
}

void TimestampReply::CheckSigner(X509* signer, const ASN1_GENERALIZEDTIME& time) const
{
    if (!IsTimeStamping(signer)) {
        ICT_THROW(messages::kNotTimeStamping, SubjectOf(*signer));
    }
    const X509StorePtr store = TsaStore(ToTimeT(time));
    const X509StoreCtxPtr context(X509_STORE_CTX_new());
    PKCS7* token = TS_RESP_get_token(reply_.get());
    if (!context ||
        X509_STORE_CTX_init(context.get(), store.get(), signer, token->d.sign->cert) != 1 ||
        X509_STORE_CTX_set_purpose(context.get(), X509_PURPOSE_TIMESTAMP_SIGN) != 1) {
        ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
    }
    if (X509_verify_cert(context.get()) != 1) {
        ERR_clear_error();
        ICT_THROW(messages::kUntrustedTsa, SubjectOf(*signer), TimeText(time),
                  X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get())));
    }
}

void TimestampReply::CheckSignature(const ASN1_GENERALIZEDTIME& time) const
{
    const TsVerifyCtxPtr context(TS_VERIFY_CTX_new());
    if (!context) {
        ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
    }
    // The context owns the store; the signer was checked against it above.
    TS_VERIFY_CTX_set_store(context.get(), TsaStore(ToTimeT(time)).release());
    TS_VERIFY_CTX_set_flags(context.get(), TS_VFY_VERSION | TS_VFY_SIGNATURE | TS_VFY_SIGNER);
    if (TS_RESP_verify_response(context.get(), reply_.get()) != 1) {
        ICT_THROW(messages::kBadTokenSignature, source_, TakeOpenSslError());
    }
}

}  // namespace integrity_check_tool::sign
