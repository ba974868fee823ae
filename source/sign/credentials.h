#pragma once

#include <optional>
#include <string>

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

/// The first line of `path` without its line end (a PIN or a passphrase);
/// throws Exception `emptyMessage` (%1% the path) when it is empty.
std::string ReadSecretLine(const Path& path, const char* emptyMessage);

/// The private key in `path` (PEM or DER). An encrypted one is opened with
/// the first line of `passFile`, else with a passphrase asked for without
/// echo when stdin is a terminal. Throws Exception when there is no key,
/// the passphrase is wrong or there is no way to get one.
EvpPkeyPtr LoadPrivateKey(const Path& path, const std::optional<Path>& passFile);

/// The first certificate in `path` (PEM or DER); throws Exception when
/// there is none.
X509Ptr LoadCertificate(const Path& path);

/// Every certificate in `path` (PEM with one or more, or one DER); throws
/// Exception when there is none.
CertificateStackPtr LoadCertificates(const Path& path);

/// The DER encoding of `certificate`.
Blob CertificateDer(X509& certificate);

/// The subject of `certificate`, RFC 2253 one-line form ("CN=Leaf,O=Maker").
std::string SubjectOf(X509& certificate);

/// The CRL in `path` (PEM or DER); throws Exception when there is none.
X509CrlPtr LoadCrl(const Path& path);

}  // namespace integrity_check_tool::sign
