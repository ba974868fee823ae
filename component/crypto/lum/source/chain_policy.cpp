#include "lum/chain_policy.h"

#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include "lum/flags.h"

namespace crypto::lum {

namespace {

constexpr int kMinimumRsaBits = 2048;
constexpr int kMinimumEcBits = 256;

/// Digests with practical collisions: a signature over one proves nothing.
bool IsBrokenDigest(int nid)
{
    switch (nid) {
    case NID_md2:
    case NID_md4:
    case NID_md5:
    case NID_md5_sha1:
    case NID_sha1:
        return true;
    default:
        return false;
    }
}

void CheckKey(X509& certificate, std::vector<PolicyViolation>& violations)
{
    const EVP_PKEY* key = X509_get0_pubkey(&certificate);
    if (key == nullptr) {
        violations.push_back({flags::kInvalidCertificateSign, "its public key does not decode"});
        return;
    }
    const auto tooSmall = [&](const char* type, int minimum) {
        const int bits = EVP_PKEY_get_bits(key);
        if (bits < minimum) {
            violations.push_back({flags::kInvalidCertificateSign,
                                  "its " + std::string(type) + " key has " + std::to_string(bits) +
                                      " bits, fewer than " + std::to_string(minimum)});
        }
    };
    switch (EVP_PKEY_get_base_id(key)) {
    case EVP_PKEY_RSA:
    case EVP_PKEY_RSA_PSS:
        tooSmall("RSA", kMinimumRsaBits);
        break;
    case EVP_PKEY_DSA:
        tooSmall("DSA", kMinimumRsaBits);
        break;
    case EVP_PKEY_EC:
        tooSmall("EC", kMinimumEcBits);
        break;
    default:
        // EdDSA and GOST keys come in strong sizes only.
        break;
    }
}

void CheckSignature(X509& certificate, std::vector<PolicyViolation>& violations)
{
    int digest = NID_undef;
    // Unknown algorithms fail chain verification; RSA-PSS reports its hash here.
    if (X509_get_signature_info(&certificate, &digest, nullptr, nullptr, nullptr) == 1 &&
        IsBrokenDigest(digest)) {
        violations.push_back({flags::kInvalidCertificateSign,
                              "it is signed with " + std::string(OBJ_nid2sn(digest))});
    }
}

}  // namespace

std::vector<PolicyViolation> StrengthViolations(X509& certificate, ChainPosition position)
{
    std::vector<PolicyViolation> violations;
    CheckKey(certificate, violations);
    if (position != ChainPosition::Root) {
        CheckSignature(certificate, violations);
    }
    return violations;
}

std::vector<PolicyViolation> CodeSigningViolations(X509& certificate, ChainPosition position)
{
    std::vector<PolicyViolation> violations;
    const std::uint32_t extensions = X509_get_extension_flags(&certificate);
    if (position == ChainPosition::Leaf && (extensions & EXFLAG_CA) != 0) {
        violations.push_back(
            {flags::kInvalidBasicContraints, "it is a CA certificate (basicConstraints CA:TRUE)"});
    }
    // No extension means no restriction; a present one must allow code signing.
    if (position == ChainPosition::Intermediate && (extensions & EXFLAG_XKUSAGE) != 0 &&
        (X509_get_extended_key_usage(&certificate) & (XKU_CODE_SIGN | XKU_ANYEKU)) == 0) {
        violations.push_back({flags::kInvalidPurpose,
                              "its extended key usage allows neither codeSigning nor "
                              "anyExtendedKeyUsage"});
    }
    return violations;
}

ChainPosition PositionInChain(X509& certificate, int depth)
{
    if (depth == 0) {
        return ChainPosition::Leaf;
    }
    return X509_self_signed(&certificate, 0) == 1 ? ChainPosition::Root
                                                  : ChainPosition::Intermediate;
}

}  // namespace crypto::lum
