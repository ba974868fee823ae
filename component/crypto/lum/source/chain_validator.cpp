#include "chain_validator.h"

#include <stdexcept>

#include "lum/chain_policy.h"
#include "lum/flags.h"
#include "x509_util.h"

namespace crypto::lum {

namespace {

int CollectError(int ok, X509_STORE_CTX* context)
{
    if (ok == 0) {
        auto* result = static_cast<ChainResult*>(X509_STORE_CTX_get_app_data(context));
        const int error = X509_STORE_CTX_get_error(context);
        result->flags |= FlagForChainError(error);
        result->errors.push_back("depth " +
                                 std::to_string(X509_STORE_CTX_get_error_depth(context)) + ": " +
                                 X509_verify_cert_error_string(error));
    }
    // Go on, so that one run reports every reason the chain is not good.
    return 1;
}

}  // namespace

std::uint32_t FlagForChainError(int error) noexcept
{
    switch (error) {
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_CERT_CHAIN_TOO_LONG:
    case X509_V_ERR_CERT_UNTRUSTED:
    case X509_V_ERR_CERT_REJECTED:
    case X509_V_ERR_PATH_LOOP:
        return flags::kIncompleteChain;
    case X509_V_ERR_CERT_NOT_YET_VALID:
    case X509_V_ERR_CERT_HAS_EXPIRED:
    case X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD:
    case X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD:
        return flags::kExpired;
    case X509_V_ERR_UNABLE_TO_DECRYPT_CERT_SIGNATURE:
    case X509_V_ERR_UNABLE_TO_DECODE_ISSUER_PUBLIC_KEY:
    case X509_V_ERR_CERT_SIGNATURE_FAILURE:
    case X509_V_ERR_NO_ISSUER_PUBLIC_KEY:
    case X509_V_ERR_UNSUPPORTED_SIGNATURE_ALGORITHM:
    case X509_V_ERR_SIGNATURE_ALGORITHM_MISMATCH:
    case X509_V_ERR_SIGNATURE_ALGORITHM_INCONSISTENCY:
    case X509_V_ERR_CA_MD_TOO_WEAK:
    case X509_V_ERR_EE_KEY_TOO_SMALL:
    case X509_V_ERR_CA_KEY_TOO_SMALL:
        return flags::kInvalidCertificateSign;
    case X509_V_ERR_INVALID_CA:
    case X509_V_ERR_INVALID_NON_CA:
    case X509_V_ERR_PATH_LENGTH_EXCEEDED:
    case X509_V_ERR_PROXY_PATH_LENGTH_EXCEEDED:
    case X509_V_ERR_PROXY_CERTIFICATES_NOT_ALLOWED:
    case X509_V_ERR_PATHLEN_INVALID_FOR_NON_CA:
    case X509_V_ERR_CA_BCONS_NOT_CRITICAL:
        return flags::kInvalidBasicContraints;
    case X509_V_ERR_INVALID_PURPOSE:
        return flags::kInvalidPurpose;
    case X509_V_ERR_KEYUSAGE_NO_CERTSIGN:
    case X509_V_ERR_KEYUSAGE_NO_DIGITAL_SIGNATURE:
    case X509_V_ERR_KEYUSAGE_NO_CRL_SIGN:
    case X509_V_ERR_PATHLEN_WITHOUT_KU_KEY_CERT_SIGN:
    case X509_V_ERR_KU_KEY_CERT_SIGN_INVALID_FOR_NON_CA:
    case X509_V_ERR_CA_CERT_MISSING_KEY_USAGE:
        return flags::kInvalidUsage;
    case X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION:
        return flags::kUnconsumedCriticalExtension;
    case X509_V_ERR_SUBJECT_ISSUER_MISMATCH:
    case X509_V_ERR_AKID_SKID_MISMATCH:
    case X509_V_ERR_AKID_ISSUER_SERIAL_MISMATCH:
    case X509_V_ERR_ISSUER_NAME_EMPTY:
    case X509_V_ERR_SUBJECT_NAME_EMPTY:
    case X509_V_ERR_PERMITTED_VIOLATION:
    case X509_V_ERR_EXCLUDED_VIOLATION:
        return flags::kInvalidIssuer;
    case X509_V_ERR_CERT_REVOKED:
        return flags::kRevoked;
    default:
        // Malformed or unsupported extensions, policies and anything newer.
        return flags::kInvalidExtension;
    }
}

ChainValidator::ChainValidator(const std::vector<Bytes>& roots) : store_(X509_STORE_new())
{
    if (!store_) {
        throw std::bad_alloc();
    }
    for (const Bytes& der : roots) {
        X509Ptr root = ParseCertificate(der);
        if (!root) {
            throw std::runtime_error("Root certificate " + std::to_string(roots_.size()) +
                                     " does not parse");
        }
        if (X509_STORE_add_cert(store_.get(), root.get()) != 1) {
            throw std::runtime_error("Can't add root certificate " + std::to_string(roots_.size()));
        }
        roots_.push_back(std::move(root));
    }
}

ChainResult ChainValidator::Validate(X509& leaf, STACK_OF(X509) * untrusted,
                                     std::optional<std::time_t> at) const
{
    ChainResult result;
    const X509StoreCtxPtr context(X509_STORE_CTX_new());
    if (!context || X509_STORE_CTX_init(context.get(), store_.get(), &leaf, untrusted) != 1) {
        throw std::bad_alloc();
    }
    if (at) {
        X509_STORE_CTX_set_time(context.get(), 0, *at);
    }
    X509_STORE_CTX_set_app_data(context.get(), &result);
    X509_STORE_CTX_set_verify_cb(context.get(), CollectError);
    if (X509_verify_cert(context.get()) != 1 && result.flags == 0) {
        // Failed without a reason for the callback: an internal error.
        result.flags |= flags::kIncompleteChain;
        result.errors.emplace_back(
            X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get())));
    }
    result.chain.reset(X509_STORE_CTX_get1_chain(context.get()));
    // Ours rather than a security level: those pass P-224 keys, and the
    // signing tool refuses by the same rules.
    for (int depth = 0; result.chain && depth < sk_X509_num(result.chain.get()); ++depth) {
        X509& certificate = *sk_X509_value(result.chain.get(), depth);
        for (const PolicyViolation& violation :
             StrengthViolations(certificate, PositionInChain(certificate, depth))) {
            result.flags |= violation.flag;
            result.errors.push_back("depth " + std::to_string(depth) + ": " + violation.reason);
        }
    }
    return result;
}

const X509* ChainValidator::FindRoot(const X509& certificate) const
{
    for (const X509Ptr& root : roots_) {
        if (X509_cmp(root.get(), &certificate) == 0) {
            return root.get();
        }
    }
    return nullptr;
}

}  // namespace crypto::lum
