#include "sign/lum_signer.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <vector>

#include <lum/chain_policy.h>
#include <lum/format.h>
#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include "exception.h"
#include "sign/credentials.h"
#include "sign/messages.h"
#include "sign/openssl_error.h"

namespace integrity_check_tool::sign {

using crypto::Asn1ObjectPtr;
using crypto::BioPtr;
using crypto::CertificateStackPtr;
using crypto::CmsPtr;

namespace {

// Signed attributes are content type, message digest and signing time only.
constexpr unsigned kFlags = CMS_BINARY | CMS_DETACHED | CMS_PARTIAL | CMS_NOSMIMECAP;

bool IsCodeSigning(X509* certificate)
{
    // Without the extension OpenSSL reports every usage: require it present.
    return (X509_get_extension_flags(certificate) & EXFLAG_XKUSAGE) != 0 &&
           (X509_get_extended_key_usage(certificate) & XKU_CODE_SIGN) != 0;
}

/// Refuses what the checker would: weak keys and signatures anywhere in the
/// chain, a CA as signer, an intermediate not for code signing.
void CheckPolicy(X509& certificate, crypto::lum::ChainPosition position, const std::string& path)
{
    std::vector<crypto::lum::PolicyViolation> violations =
        crypto::lum::StrengthViolations(certificate, position);
    const std::vector<crypto::lum::PolicyViolation> codeSigning =
        crypto::lum::CodeSigningViolations(certificate, position);
    violations.insert(violations.end(), codeSigning.begin(), codeSigning.end());
    if (!violations.empty()) {
        char subject[256];
        X509_NAME_oneline(X509_get_subject_name(&certificate), subject, sizeof subject);
        ICT_THROW(messages::kRefusedCertificate, subject, path, violations.front().reason);
    }
}

}  // namespace

LumSigner::LumSigner(const SignOptions& options)
    : credentials_(LoadLumCredentials(options)),
      chain_(options.chain ? LoadCertificates(*options.chain)
                           : CertificateStackPtr(sk_X509_new_null())),
      digest_(EVP_get_digestbyname(options.digest.c_str())),
      withFileName_(options.type == SignatureType::LumWithFilename),
      selfCheck_(options.roots, withFileName_)
{
    const std::string certificatePath = options.certificate.value_or(Path()).string();
    if (X509_check_private_key(credentials_.certificate.get(), credentials_.key.get()) != 1) {
        ERR_clear_error();
        ICT_THROW(messages::kKeyDoesNotMatch, options.key.string(), certificatePath);
    }
    if (!IsCodeSigning(credentials_.certificate.get())) {
        ICT_THROW(messages::kNotCodeSigning, certificatePath);
    }
    if (!chain_ || digest_ == nullptr) {
        ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
    }
    CheckPolicy(*credentials_.certificate, crypto::lum::ChainPosition::Leaf, certificatePath);
    for (int i = 0; i < sk_X509_num(chain_.get()); ++i) {
        X509& certificate = *sk_X509_value(chain_.get(), i);
        if (X509_cmp(&certificate, credentials_.certificate.get()) != 0) {
            // Anywhere above the leaf: the file's order is not the chain's.
            CheckPolicy(certificate, crypto::lum::PositionInChain(certificate, 1),
                        options.chain->string());
        }
    }
}

Blob LumSigner::Sign(std::span<const std::uint8_t> content, const std::string& fileName) const
{
    const auto fail = [&fileName] {
        ICT_THROW(messages::kSigningFailed, fileName, TakeOpenSslError());
    };
    if (content.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        ICT_THROW(messages::kSigningFailed, fileName, "content larger than 2 GiB");
    }

    CmsPtr cms(CMS_sign(nullptr, nullptr, nullptr, nullptr, kFlags));
    if (!cms) {
        fail();
    }
    CMS_SignerInfo* signer = CMS_add1_signer(cms.get(), credentials_.certificate.get(),
                                             credentials_.key.get(), digest_, kFlags);
    if (signer == nullptr) {
        fail();
    }
    if (withFileName_) {
        const std::optional<Blob> bmp = crypto::lum::FileNameToBmp(fileName);
        if (!bmp) {
            ICT_THROW(messages::kNameNotUtf8, fileName);
        }
        const Blob& name = *bmp;
        const Asn1ObjectPtr oid(OBJ_txt2obj(crypto::lum::FileNameAttributeOid(), 1));
        if (!oid || name.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()) ||
            CMS_signed_add1_attr_by_OBJ(signer, oid.get(), V_ASN1_BMPSTRING, name.data(),
                                        static_cast<int>(name.size())) != 1) {
            fail();
        }
    }
    // CMS refuses a certificate twice; a chain file may repeat the leaf.
    std::vector<const X509*> carried{credentials_.certificate.get()};
    for (int i = 0; i < sk_X509_num(chain_.get()); ++i) {
        X509* certificate = sk_X509_value(chain_.get(), i);
        const bool known =
            std::any_of(carried.begin(), carried.end(), [certificate](const X509* other) {
                return X509_cmp(other, certificate) == 0;
            });
        if (!known) {
            if (CMS_add1_cert(cms.get(), certificate) != 1) {
                fail();
            }
            carried.push_back(certificate);
        }
    }

    const BioPtr data(BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
    if (!data || CMS_final(cms.get(), data.get(), nullptr, kFlags & ~CMS_PARTIAL) != 1) {
        fail();
    }
    const int derSize = i2d_CMS_ContentInfo(cms.get(), nullptr);
    if (derSize <= 0) {
        fail();
    }
    Blob signature(static_cast<std::size_t>(derSize) + crypto::lum::kTrailerSize);
    unsigned char* cursor = signature.data();
    if (i2d_CMS_ContentInfo(cms.get(), &cursor) != derSize) {
        fail();
    }
    const auto trailer = crypto::lum::MakeTrailer(static_cast<std::uint32_t>(derSize));
    std::copy(trailer.begin(), trailer.end(), signature.begin() + derSize);
    return signature;
}

ISigner::Verdict LumSigner::Check(const Path& file, const Path& target,
                                  const Blob& signedFile) const
{
    return {selfCheck_.Check(file, target, signedFile, *credentials_.certificate), {}};
}

}  // namespace integrity_check_tool::sign
