#pragma once

#include <memory>

#include <openssl/evp.h>

#include "hash/hash.h"

namespace integrity_check_tool::openssl {

/// SHA-256 through OpenSSL's libcrypto.
class Sha256 final : public IHash {
public:
    /// Fetches the digest implementation once; throws the program's
    /// Exception when OpenSSL has none.
    Sha256();

    /// The 32-byte digest of the rest of `io`.
    Blob CalculateHash(const zel::intrusive_ptr<zel::IIO>& io) const override;

private:
    struct MdDeleter {
        void operator()(EVP_MD* md) const noexcept { EVP_MD_free(md); }
    };
    std::unique_ptr<EVP_MD, MdDeleter> md_;
};

/// The shared SHA-256 instance (see SharedInstance).
IHashPtr GetSha256();

}  // namespace integrity_check_tool::openssl
