#pragma once

#include <memory>

#include <crypto/openssl_handles.h>

#include "sign/options.h"
#include "sign/pkcs11_token.h"

namespace integrity_check_tool::sign {

using crypto::EvpPkeyPtr;
using crypto::X509Ptr;

/// The signer's key and certificate for the lum types, each from a file or
/// from a token.
struct LumCredentials {
    std::unique_ptr<Pkcs11Token> token;  ///< first, so that it outlives a key it loaded
    EvpPkeyPtr key;
    X509Ptr certificate;
};

/// Loads `options.key` and `options.certificate`, either a file or a
/// pkcs11: URI; the token is opened once for both, on --pkcs11-module or
/// the URIs' module-path, with the PIN of --pin-file or the URIs'
/// pin-source. Throws Exception with one message for any failure.
LumCredentials LoadLumCredentials(const SignOptions& options);

}  // namespace integrity_check_tool::sign
