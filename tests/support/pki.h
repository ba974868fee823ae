#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <openssl/types.h>

#include "types.h"

/// Test material made at run time with OpenSSL: keys, certificates, CRLs,
/// "lum" signed files and revocation containers. Failures throw std::runtime_error.
namespace integrity_check_tool::test::pki {

/// A private key with its public half; copies share the key.
struct Key {
    enum class Type { P256, Rsa2048, P224, Rsa1024, Rsa512 };

    /// A fresh key of `type` (EC P-256 by default).
    static Key Generate(Type type = Type::P256);
    /// Reads a PEM private key (PKCS #8 or traditional).
    static Key FromPem(const std::string& pem);

    EVP_PKEY* get() const noexcept { return key.get(); }
    /// PKCS #8 PEM, unencrypted.
    std::string ToPem() const;

    std::shared_ptr<EVP_PKEY> key;
};

/// An X.509 certificate; copies share it.
struct Certificate {
    /// Parses PEM; throws when it does not parse.
    static Certificate FromPem(const std::string& pem);

    X509* get() const noexcept { return certificate.get(); }
    Blob ToDer() const;
    std::string ToPem() const;
    /// The serial number in upper-case hexadecimal, as integrity_sign --revoke takes it.
    std::string SerialHex() const;

    std::shared_ptr<X509> certificate;
};

/// What goes into a certificate. Extension values use the syntax of
/// OpenSSL's configuration files; an empty value leaves the extension out.
struct CertificateOptions {
    std::string commonName = "Test";
    std::uint64_t serial = 1;
    /// Validity relative to now, in days.
    int notBeforeDays = -1;
    int notAfterDays = 3650;
    std::string basicConstraints = "critical,CA:FALSE";
    std::string keyUsage = "critical,digitalSignature";
    std::string extendedKeyUsage = "codeSigning";
    /// Digest of the issuer's signature, e.g. "SHA1" for a weak one.
    std::string digest = "SHA256";
    /// Further extensions as (name, value), e.g. {"1.2.3.4", "critical,DER:05:00"}.
    std::vector<std::pair<std::string, std::string>> extraExtensions{};
};

/// Options of a code-signing leaf.
CertificateOptions LeafOptions(const std::string& commonName, std::uint64_t serial);

/// Issues a certificate for `subjectKey` signed by `issuerKey`; self-signed
/// (issuer name = subject name) when `issuer` is null.
Certificate IssueCertificate(const CertificateOptions& options, const Key& subjectKey,
                             const Certificate* issuer, const Key& issuerKey);

/// How MakeCrl dates and signs a CRL; days are relative to now.
struct CrlOptions {
    int thisUpdateDays = -1;
    std::optional<int> nextUpdateDays = 30;  ///< none leaves nextUpdate out
    const char* digest = "SHA256";
};

/// A DER X.509 v2 CRL issued by `issuer`, signed with `issuerKey`, listing
/// `revokedSerials`, issued yesterday and due in 30 days unless `options` say otherwise.
Blob MakeCrl(const Certificate& issuer, const Key& issuerKey,
             const std::vector<std::uint64_t>& revokedSerials, const CrlOptions& options = {});

/// How SignLum builds the CMS.
struct SignOptions {
    std::string digest = "SHA256";
    /// BMPString bytes of the file-name attribute (FileNameToBmp); none when absent.
    std::optional<Blob> fileNameAttribute{};
    /// OID of that attribute; the build's FileNameAttributeOid() when empty.
    std::string fileNameOid{};
    bool detached = true;  ///< false embeds the content (not a valid "lum" signature)
    /// Replaces the SignerInfo's signatureAlgorithm after signing when not
    /// empty (e.g. "ecdsa-with-SHA1"); the value stays one over `digest`.
    std::string signatureAlgorithm{};
};

/// A signed file: content, the DER of a CMS SignedData over it by `signer`
/// carrying `chain`, trailer.
Blob SignLum(std::span<const std::uint8_t> content, const Certificate& signer, const Key& key,
             const std::vector<Certificate>& chain = {}, const SignOptions& options = {});

/// The signature value of the one SignerInfo of a "lum" signed file: what
/// a time-stamp token's imprint covers.
Blob SignatureValue(std::span<const std::uint8_t> signedFile);
/// The CMS DER of a "lum" signed file.
Blob SignatureDer(std::span<const std::uint8_t> signedFile);
/// The values (DER) of every id-aa-timeStampToken attribute of its SignerInfo.
std::vector<Blob> EmbeddedTokens(std::span<const std::uint8_t> signedFile);
/// `signedFile` with `token` (DER, any bytes) as the SignerInfo's unsigned
/// id-aa-timeStampToken attribute, checked by nothing: for tokens a careful
/// signing tool would refuse to embed.
Blob EmbedToken(std::span<const std::uint8_t> signedFile, std::span<const std::uint8_t> token);

/// A root, an intermediate issued by it and a code-signing leaf issued by
/// the intermediate, with serials `firstSerial`, +1 and +2.
struct Hierarchy {
    Key rootKey;
    Certificate root;
    Key intermediateKey;
    Certificate intermediate;
    Key leafKey;
    Certificate leaf;

    /// `name` prefixes the common names ("<name> Root", ...).
    static Hierarchy Make(const std::string& name, std::uint64_t firstSerial);
    /// Reads root, inter and leaf .key and .pem from `directory`.
    static Hierarchy Load(const std::string& directory);
    /// A leaf under this hierarchy's intermediate with the given options.
    Certificate IssueLeaf(const CertificateOptions& options, const Key& key) const;
    /// `content` signed by the leaf, with the intermediate in the chain.
    Blob Sign(std::span<const std::uint8_t> content, const SignOptions& options = {}) const;
    /// A CRL of the root revoking `serials`.
    Blob Crl(const std::vector<std::uint64_t>& serials) const;
    /// The root's hierarchy identifier (big-endian magnitude of its serial).
    Blob HierarchyId() const;
};

/// A signing key, its certificate and the chain a signature carries.
struct Signer {
    std::string name;
    Key key;
    Certificate certificate;
    std::vector<Certificate> chain;
};

/// Signers under `hierarchy`'s root, each breaking one rule of the chain
/// policy: "RSA-512 signer", "P-224 signer", "RSA-1024 intermediate",
/// "ECDSA-SHA1 signer", "RSA-MD5 signer", "SHA-1 intermediate", "CA signer"
/// and "serverAuth intermediate".
std::vector<Signer> PolicyBreakingSigners(const Hierarchy& hierarchy);

/// The bytes of `text`, for content built from string literals.
Blob ToBlob(std::string_view text);
/// DER of an element: `tag`, definite length, `content`.
std::string Tlv(std::uint8_t tag, const std::string& content);
/// `bytes` as a string, for files written from built content.
std::string ToText(std::span<const std::uint8_t> bytes);

}  // namespace integrity_check_tool::test::pki
