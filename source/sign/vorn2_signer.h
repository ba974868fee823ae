#pragma once

#include "sign/gost_signer.h"
#include "sign/options.h"
#include "sign/signer.h"

namespace integrity_check_tool::sign {

/// "vorn2": a GOST R 34.10-2012 signature record, then its trailer. The
/// digest follows from the key's size, so there is no certificate, chain or
/// digest choice.
class Vorn2Signer final : public ISigner {
public:
    /// Loads the GOST private key (PEM) of `options.key`; throws Exception
    /// when it can't be read.
    explicit Vorn2Signer(const SignOptions& options);

    Blob Sign(std::span<const std::uint8_t> content, const std::string& fileName) const override;
    /// Warns when the key's public half is in neither compiled-in GOST key
    /// set: freshly generated keys are signed with before a build trusts them.
    Verdict Check(const Path& file, const Path& target, const Blob& signedFile) const override;

private:
    vorn::GostPrivateKey key_;
};

}  // namespace integrity_check_tool::sign
