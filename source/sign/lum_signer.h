#pragma once

#include <crypto/openssl_handles.h>
#include <openssl/evp.h>

#include "sign/lum_credentials.h"
#include "sign/lum_self_check.h"
#include "sign/options.h"
#include "sign/signer.h"

namespace integrity_check_tool::sign {

using crypto::CertificateStackPtr;
using crypto::EvpPkeyPtr;
using crypto::X509Ptr;

/// "lum" and "lum-with-filename": a detached DER CMS SignedData with one
/// signer, carrying the signer certificate and the chain, then the trailer.
class LumSigner final : public ISigner {
public:
    /// Loads the key and the certificate (files or in a token, see
    /// LoadLumCredentials) and the chain; throws Exception when
    /// one can't be read, the key does not match the certificate, the
    /// certificate is not for code signing or one of them breaks the
    /// checker's chain policy (lum/chain_policy.h).
    explicit LumSigner(const SignOptions& options);

    Blob Sign(std::span<const std::uint8_t> content, const std::string& fileName) const override;
    /// Verifies as the checker does (LumSelfCheck), under `options.roots`
    /// when given.
    Verdict Check(const Path& file, const Path& target, const Blob& signedFile) const override;

private:
    LumCredentials credentials_;
    CertificateStackPtr chain_;
    const EVP_MD* digest_ = nullptr;
    bool withFileName_ = false;
    LumSelfCheck selfCheck_;
};

}  // namespace integrity_check_tool::sign
