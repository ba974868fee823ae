#pragma once

#include <optional>
#include <string>

#include <crypto/openssl_handles.h>
#include <openssl/types.h>

#include "sign/pkcs11_uri.h"
#include "types.h"

namespace integrity_check_tool::sign {

using crypto::EvpPkeyPtr;
using crypto::X509Ptr;

/// Keys and certificates in a token, reached through OpenSSL's pkcs11
/// engine and a PKCS#11 module. Keys it loads use the engine: they must be
/// freed before the token.
class Pkcs11Token final {
public:
    /// Loads the engine on `module` (else the engine's default:
    /// $PKCS11_MODULE_PATH, else p11-kit's proxy); `pin` logs in when a key needs it. Throws
    /// Exception when the engine or the module can't be loaded.
    Pkcs11Token(const std::optional<Path>& module, std::string pin);
    ~Pkcs11Token();
    Pkcs11Token(const Pkcs11Token&) = delete;
    Pkcs11Token& operator=(const Pkcs11Token&) = delete;

    /// The private key `uri` names; throws Exception when the token or the
    /// key isn't there or the login fails.
    EvpPkeyPtr LoadPrivateKey(const Pkcs11Uri& uri) const;

    /// The certificate `uri` names; throws Exception when there is none.
    X509Ptr LoadCertificate(const Pkcs11Uri& uri) const;

private:
    /// What the module was named in messages.
    std::string ModuleName() const;

    ENGINE* engine_ = nullptr;
    std::optional<Path> module_;
    bool pinGiven_ = false;
};

}  // namespace integrity_check_tool::sign
