#pragma once

#include <crypto/openssl_handles.h>

#include "types.h"

namespace integrity_check_tool::sign {

using crypto::CertificateStackPtr;
using crypto::EvpPkeyPtr;
using crypto::X509CrlPtr;
using crypto::X509Ptr;

/// The bytes of the key or certificate file `path` (1 MiB at most); throws
/// Exception like ReadRegularFile.
Blob ReadCredentialFile(const Path& path);

/// The private key in `path` (PEM or DER, unencrypted); throws Exception
/// when there is none.
EvpPkeyPtr LoadPrivateKey(const Path& path);

/// The first certificate in `path` (PEM or DER); throws Exception when
/// there is none.
X509Ptr LoadCertificate(const Path& path);

/// Every certificate in `path` (PEM with one or more, or one DER); throws
/// Exception when there is none.
CertificateStackPtr LoadCertificates(const Path& path);

/// The CRL in `path` (PEM or DER); throws Exception when there is none.
X509CrlPtr LoadCrl(const Path& path);

}  // namespace integrity_check_tool::sign
