#pragma once

#include <string>
#include <vector>

#include <crypto/openssl_handles.h>

#include "lum/format.h"

namespace crypto::lum {

/// Trace levels of the library: failures and diagnostics.
inline constexpr std::uint32_t kTraceError = 300;
inline constexpr std::uint32_t kTraceDebug = 800;

/// Parses a DER certificate that fills `der` exactly; nullptr otherwise.
X509Ptr ParseCertificate(ByteSpan der);
/// Parses a DER CRL that fills `der` exactly; nullptr otherwise.
X509CrlPtr ParseCrl(ByteSpan der);
/// Parses a DER CMS ContentInfo that fills `der` exactly; nullptr otherwise.
CmsPtr ParseCms(ByteSpan der);
/// The big-endian magnitude of the certificate's serial number (the
/// hierarchy identifier when the certificate is a root).
Bytes SerialMagnitude(const X509& certificate);
/// The digest an algorithm identifier names when it is one we accept
/// (SHA-256, SHA-384, SHA-512); nullptr otherwise.
const EVP_MD* SupportedDigest(const X509_ALGOR& algorithm);
/// The supported digest of a CMS or PKCS #7 signer's `digestAlgorithm`,
/// or nullptr; also nullptr when its `signatureAlgorithm` names another
/// digest (ecdsa-with-SHA1 beside SHA-256), which verification would ignore.
const EVP_MD* SignerInfoDigest(const X509_ALGOR* digestAlgorithm,
                               const X509_ALGOR* signatureAlgorithm);
/// The same for a digest's NID.
const EVP_MD* SupportedDigest(int nid);
/// Upper-case hex of `bytes`.
std::string Hex(ByteSpan bytes);
/// Depths of the certificates of `chain` (leaf first, root last) that `crl`
/// lists; the root itself is never looked up.
std::vector<int> RevokedDepths(X509_CRL& crl, STACK_OF(X509) & chain);
/// A name as RFC 2253 text, e.g. "CN=Root,O=Maker".
std::string NameText(const X509_NAME& name);
/// "YYYY-MM-DD HH:MM:SS" of an ASN.1 time, or "?" when it does not convert.
std::string TimeText(const ASN1_TIME* time);

}  // namespace crypto::lum
