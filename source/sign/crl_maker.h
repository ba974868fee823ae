#pragma once

#include <optional>
#include <string>
#include <vector>

#include <crypto/openssl_handles.h>

#include "sign/options.h"

namespace integrity_check_tool::sign {

using crypto::EvpPkeyPtr;
using crypto::X509CrlPtr;
using crypto::X509Ptr;

/// Issues v2 CRLs in the name of one root, as `openssl ca -gencrl` does.
class CrlMaker final {
public:
    /// Loads the root certificate and its key (see LoadPrivateKey for
    /// `passFile`); throws Exception when one can't be read, they don't
    /// match or the certificate is no CA that may sign CRLs.
    CrlMaker(const Path& caCertificate, const Path& caKey, const std::optional<Path>& passFile);

    /// A CRL listing `serials` (hexadecimal, optionally "0x" or "serial="
    /// first), valid from now for `days` days, signed with the root's key;
    /// throws Exception for a malformed serial or a signing failure.
    X509CrlPtr Make(const std::vector<std::string>& serials, int days) const;

    /// `crl` in PEM form.
    static std::string ToPem(X509_CRL& crl);

private:
    X509Ptr certificate_;
    EvpPkeyPtr key_;
};

}  // namespace integrity_check_tool::sign
