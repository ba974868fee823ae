#include "support/pki.h"

#include <algorithm>
#include <stdexcept>
#include <type_traits>

#include <lum/format.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "support/temp_dir.h"

namespace integrity_check_tool::test::pki {

namespace {

// `result` when it is a pointer other than null or a positive number; else
// throws with OpenSSL's last error.
template <class T> T Check(T result, const std::string& what)
{
    if constexpr (std::is_pointer_v<T>) {
        if (result != nullptr) {
            return result;
        }
    } else if (result > 0) {
        return result;
    }
    char detail[256] = {};
    ERR_error_string_n(ERR_get_error(), detail, sizeof detail);
    ERR_clear_error();
    throw std::runtime_error("pki: " + what + ": " + detail);
}

using BioPtr = std::unique_ptr<BIO, decltype(&BIO_free)>;

BioPtr ReadBio(std::span<const std::uint8_t> data)
{
    static const std::uint8_t kNothing = 0;
    return BioPtr(Check(BIO_new_mem_buf(data.empty() ? &kNothing : data.data(),
                                        static_cast<int>(data.size())),
                        "BIO_new_mem_buf"),
                  BIO_free);
}

template <class T, int (*Encode)(const T*, unsigned char**)> Blob ToDerOf(const T* object)
{
    Blob der(static_cast<std::size_t>(Check(Encode(object, nullptr), "i2d")));
    unsigned char* cursor = der.data();
    Encode(object, &cursor);
    return der;
}

std::string BioText(BIO& bio)
{
    char* data = nullptr;
    const long size = BIO_get_mem_data(&bio, &data);
    return std::string(data, static_cast<std::size_t>(size));
}

void AddExtension(X509* certificate, X509V3_CTX& context, const std::string& name,
                  const std::string& value)
{
    if (value.empty()) {
        return;
    }
    X509_EXTENSION* extension =
        Check(X509V3_EXT_conf(nullptr, &context, name.c_str(), value.c_str()), "extension " + name);
    const int added = X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
    Check(added, "X509_add_ext");
}

ASN1_TIME* Adjust(ASN1_TIME* time, int days)
{
    return Check(X509_time_adj_ex(time, days, 0, nullptr), "X509_time_adj_ex");
}

CertificateOptions CaOptions(const std::string& commonName, std::uint64_t serial)
{
    return {.commonName = commonName,
            .serial = serial,
            .basicConstraints = "critical,CA:TRUE",
            .keyUsage = "critical,keyCertSign,cRLSign",
            .extendedKeyUsage = ""};
}

}  // namespace

Key Key::Generate(Type type)
{
    EVP_PKEY* key = nullptr;
    switch (type) {
    case Type::P256:
        key = EVP_EC_gen("P-256");
        break;
    case Type::P224:
        key = EVP_EC_gen("P-224");
        break;
    case Type::Rsa2048:
        key = EVP_RSA_gen(2048);
        break;
    case Type::Rsa1024:
        key = EVP_RSA_gen(1024);
        break;
    case Type::Rsa512:
        key = EVP_RSA_gen(512);
        break;
    }
    return {std::shared_ptr<EVP_PKEY>(Check(key, "key generation"), EVP_PKEY_free)};
}

Key Key::FromPem(const std::string& pem)
{
    EVP_PKEY* key = PEM_read_bio_PrivateKey(ReadBio(ToBlob(pem)).get(), nullptr, nullptr, nullptr);
    return {std::shared_ptr<EVP_PKEY>(Check(key, "PEM_read_bio_PrivateKey"), EVP_PKEY_free)};
}

std::string Key::ToPem() const
{
    const BioPtr bio(Check(BIO_new(BIO_s_mem()), "BIO_new"), BIO_free);
    Check(PEM_write_bio_PrivateKey(bio.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr),
          "PEM_write_bio_PrivateKey");
    return BioText(*bio);
}

Certificate Certificate::FromPem(const std::string& pem)
{
    X509* certificate = PEM_read_bio_X509(ReadBio(ToBlob(pem)).get(), nullptr, nullptr, nullptr);
    return {std::shared_ptr<X509>(Check(certificate, "PEM_read_bio_X509"), X509_free)};
}

Blob Certificate::ToDer() const
{
    return ToDerOf<X509, i2d_X509>(certificate.get());
}

std::string Certificate::ToPem() const
{
    const BioPtr bio(Check(BIO_new(BIO_s_mem()), "BIO_new"), BIO_free);
    Check(PEM_write_bio_X509(bio.get(), certificate.get()), "PEM_write_bio_X509");
    return BioText(*bio);
}

std::string Certificate::SerialHex() const
{
    const std::unique_ptr<BIGNUM, decltype(&BN_free)> serial(
        Check(ASN1_INTEGER_to_BN(X509_get0_serialNumber(certificate.get()), nullptr),
              "ASN1_INTEGER_to_BN"),
        BN_free);
    char* hex = Check(BN_bn2hex(serial.get()), "BN_bn2hex");
    const std::string text = hex;
    OPENSSL_free(hex);
    return text;
}

CertificateOptions LeafOptions(const std::string& commonName, std::uint64_t serial)
{
    return {.commonName = commonName, .serial = serial};
}

Certificate IssueCertificate(const CertificateOptions& options, const Key& subjectKey,
                             const Certificate* issuer, const Key& issuerKey)
{
    const std::shared_ptr<X509> certificate(Check(X509_new(), "X509_new"), X509_free);
    X509* raw = certificate.get();
    Check(X509_set_version(raw, 2), "X509_set_version");
    Check(ASN1_INTEGER_set_uint64(X509_get_serialNumber(raw), options.serial), "serial");
    X509_NAME* name = X509_get_subject_name(raw);
    Check(X509_NAME_add_entry_by_txt(
              name, "CN", MBSTRING_UTF8,
              reinterpret_cast<const unsigned char*>(options.commonName.c_str()), -1, -1, 0),
          "subject");
    Check(
        X509_set_issuer_name(raw, issuer != nullptr ? X509_get_subject_name(issuer->get()) : name),
        "issuer");
    Adjust(X509_getm_notBefore(raw), options.notBeforeDays);
    Adjust(X509_getm_notAfter(raw), options.notAfterDays);
    Check(X509_set_pubkey(raw, subjectKey.get()), "X509_set_pubkey");

    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer != nullptr ? issuer->get() : raw, raw, nullptr, nullptr, 0);
    AddExtension(raw, context, "basicConstraints", options.basicConstraints);
    AddExtension(raw, context, "keyUsage", options.keyUsage);
    AddExtension(raw, context, "extendedKeyUsage", options.extendedKeyUsage);
    AddExtension(raw, context, "subjectKeyIdentifier", "hash");
    AddExtension(raw, context, "authorityKeyIdentifier", "keyid:always");
    for (const auto& [extension, value] : options.extraExtensions) {
        AddExtension(raw, context, extension, value);
    }
    Check(X509_sign(raw, issuerKey.get(),
                    Check(EVP_get_digestbyname(options.digest.c_str()), "digest")),
          "X509_sign");
    return {certificate};
}

Blob MakeCrl(const Certificate& issuer, const Key& issuerKey,
             const std::vector<std::uint64_t>& revokedSerials, const CrlOptions& options)
{
    const std::unique_ptr<X509_CRL, decltype(&X509_CRL_free)> crl(
        Check(X509_CRL_new(), "X509_CRL_new"), X509_CRL_free);
    Check(X509_CRL_set_version(crl.get(), 1), "X509_CRL_set_version");
    Check(X509_CRL_set_issuer_name(crl.get(), X509_get_subject_name(issuer.get())), "CRL issuer");
    const std::unique_ptr<ASN1_TIME, decltype(&ASN1_TIME_free)> time(
        Check(ASN1_TIME_new(), "ASN1_TIME_new"), ASN1_TIME_free);
    if (options.nextUpdateDays) {
        Check(X509_CRL_set1_nextUpdate(crl.get(), Adjust(time.get(), *options.nextUpdateDays)),
              "nextUpdate");
    }
    Check(X509_CRL_set1_lastUpdate(crl.get(), Adjust(time.get(), options.thisUpdateDays)),
          "lastUpdate");
    const std::unique_ptr<ASN1_INTEGER, decltype(&ASN1_INTEGER_free)> number(
        Check(ASN1_INTEGER_new(), "ASN1_INTEGER_new"), ASN1_INTEGER_free);
    for (const std::uint64_t serial : revokedSerials) {
        X509_REVOKED* entry = Check(X509_REVOKED_new(), "X509_REVOKED_new");
        Check(X509_CRL_add0_revoked(crl.get(), entry), "X509_CRL_add0_revoked");  // owns it now
        Check(ASN1_INTEGER_set_uint64(number.get(), serial), "revoked serial");
        Check(X509_REVOKED_set_serialNumber(entry, number.get()), "revoked serial");
        Check(X509_REVOKED_set_revocationDate(entry, time.get()), "revocation date");
    }
    Check(X509_CRL_sort(crl.get()), "X509_CRL_sort");
    Check(X509_CRL_sign(crl.get(), issuerKey.get(), EVP_get_digestbyname(options.digest)),
          "X509_CRL_sign");
    return ToDerOf<X509_CRL, i2d_X509_CRL>(crl.get());
}

namespace {

Blob SignCms(std::span<const std::uint8_t> content, const Certificate& signer, const Key& key,
             const std::vector<Certificate>& chain, const SignOptions& options)
{
    const unsigned int mode = CMS_BINARY | (options.detached ? CMS_DETACHED : 0u);
    const std::unique_ptr<CMS_ContentInfo, decltype(&CMS_ContentInfo_free)> cms(
        Check(CMS_sign(nullptr, nullptr, nullptr, nullptr, CMS_PARTIAL | mode), "CMS_sign"),
        CMS_ContentInfo_free);
    const EVP_MD* digest = Check(EVP_get_digestbyname(options.digest.c_str()), "digest");
    CMS_SignerInfo* signerInfo = Check(
        CMS_add1_signer(cms.get(), signer.get(), key.get(), digest, CMS_BINARY), "CMS_add1_signer");
    if (options.fileNameAttribute) {
        const std::string oidText =
            options.fileNameOid.empty() ? crypto::lum::FileNameAttributeOid() : options.fileNameOid;
        const std::unique_ptr<ASN1_OBJECT, decltype(&ASN1_OBJECT_free)> oid(
            Check(OBJ_txt2obj(oidText.c_str(), 1), "OBJ_txt2obj"), ASN1_OBJECT_free);
        Check(CMS_signed_add1_attr_by_OBJ(signerInfo, oid.get(), V_ASN1_BMPSTRING,
                                          options.fileNameAttribute->data(),
                                          static_cast<int>(options.fileNameAttribute->size())),
              "file-name attribute");
    }
    for (const Certificate& certificate : chain) {
        Check(CMS_add1_cert(cms.get(), certificate.get()), "CMS_add1_cert");
    }
    Check(CMS_final(cms.get(), ReadBio(content).get(), nullptr, mode), "CMS_final");
    if (!options.signatureAlgorithm.empty()) {
        X509_ALGOR* algorithm = nullptr;
        CMS_SignerInfo_get0_algs(signerInfo, nullptr, nullptr, nullptr, &algorithm);
        Check(X509_ALGOR_set0(algorithm,
                              Check(OBJ_txt2obj(options.signatureAlgorithm.c_str(), 0), "OID"),
                              V_ASN1_UNDEF, nullptr),
              "X509_ALGOR_set0");
    }
    return ToDerOf<CMS_ContentInfo, i2d_CMS_ContentInfo>(cms.get());
}

}  // namespace

Blob SignLum(std::span<const std::uint8_t> content, const Certificate& signer, const Key& key,
             const std::vector<Certificate>& chain, const SignOptions& options)
{
    const Blob der = SignCms(content, signer, key, chain, options);
    Blob file(content.begin(), content.end());
    file.insert(file.end(), der.begin(), der.end());
    const auto trailer = crypto::lum::MakeTrailer(static_cast<std::uint32_t>(der.size()));
    file.insert(file.end(), trailer.begin(), trailer.end());
    return file;
}

namespace {

struct ParsedSignature {
    std::size_t contentSize = 0;
    std::span<const std::uint8_t> der;
    std::unique_ptr<CMS_ContentInfo, decltype(&CMS_ContentInfo_free)> cms{nullptr,
                                                                          CMS_ContentInfo_free};
    CMS_SignerInfo* signerInfo = nullptr;
};

ParsedSignature ParseSignature(std::span<const std::uint8_t> file)
{
    const auto layout = crypto::lum::LocateSignature(
        file.size(), file.last(std::min(file.size(), crypto::lum::kTrailerSize)));
    if (!layout) {
        throw std::runtime_error("pki: not a signed file");
    }
    ParsedSignature parsed;
    parsed.contentSize = static_cast<std::size_t>(layout->contentSize);
    parsed.der = file.subspan(parsed.contentSize, layout->derSize);
    const unsigned char* cursor = file.data() + parsed.contentSize;
    parsed.cms.reset(Check(d2i_CMS_ContentInfo(nullptr, &cursor, layout->derSize), "d2i_CMS"));
    parsed.signerInfo =
        Check(sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(parsed.cms.get()), 0), "SignerInfo");
    return parsed;
}

}  // namespace

Blob SignatureValue(std::span<const std::uint8_t> signedFile)
{
    const ParsedSignature parsed = ParseSignature(signedFile);
    const ASN1_OCTET_STRING* value = CMS_SignerInfo_get0_signature(parsed.signerInfo);
    return {ASN1_STRING_get0_data(value), ASN1_STRING_get0_data(value) + ASN1_STRING_length(value)};
}

Blob SignatureDer(std::span<const std::uint8_t> signedFile)
{
    const ParsedSignature parsed = ParseSignature(signedFile);
    return {parsed.der.begin(), parsed.der.end()};
}

std::vector<Blob> EmbeddedTokens(std::span<const std::uint8_t> signedFile)
{
    const ParsedSignature parsed = ParseSignature(signedFile);
    std::vector<Blob> tokens;
    for (int at = -1; (at = CMS_unsigned_get_attr_by_NID(
                           parsed.signerInfo, NID_id_smime_aa_timeStampToken, at)) >= 0;) {
        X509_ATTRIBUTE* attribute = CMS_unsigned_get_attr(parsed.signerInfo, at);
        for (int i = 0; i < X509_ATTRIBUTE_count(attribute); ++i) {
            const ASN1_TYPE* value = X509_ATTRIBUTE_get0_type(attribute, i);
            if (value->type != V_ASN1_SEQUENCE) {
                throw std::runtime_error("pki: a token that is not a SEQUENCE");
            }
            const ASN1_STRING* sequence = value->value.sequence;
            tokens.emplace_back(ASN1_STRING_get0_data(sequence),
                                ASN1_STRING_get0_data(sequence) + ASN1_STRING_length(sequence));
        }
    }
    return tokens;
}

Blob EmbedToken(std::span<const std::uint8_t> signedFile, std::span<const std::uint8_t> token)
{
    const ParsedSignature parsed = ParseSignature(signedFile);
    Check(CMS_unsigned_add1_attr_by_NID(parsed.signerInfo, NID_id_smime_aa_timeStampToken,
                                        V_ASN1_SEQUENCE, token.data(),
                                        static_cast<int>(token.size())),
          "CMS_unsigned_add1_attr");
    const Blob der = ToDerOf<CMS_ContentInfo, i2d_CMS_ContentInfo>(parsed.cms.get());
    Blob file(signedFile.begin(),
              signedFile.begin() + static_cast<std::ptrdiff_t>(parsed.contentSize));
    file.insert(file.end(), der.begin(), der.end());
    const auto trailer = crypto::lum::MakeTrailer(static_cast<std::uint32_t>(der.size()));
    file.insert(file.end(), trailer.begin(), trailer.end());
    return file;
}

Hierarchy Hierarchy::Load(const std::string& directory)
{
    const auto key = [&](const char* name) { return Key::FromPem(ReadFile(directory + name)); };
    const auto cert = [&](const char* name) {
        return Certificate::FromPem(ReadFile(directory + name));
    };
    return {key("/root.key"),   cert("/root.pem"), key("/inter.key"),
            cert("/inter.pem"), key("/leaf.key"),  cert("/leaf.pem")};
}

Hierarchy Hierarchy::Make(const std::string& name, std::uint64_t firstSerial)
{
    Hierarchy made{Key::Generate(), {}, Key::Generate(), {}, Key::Generate(), {}};
    made.root = IssueCertificate(CaOptions(name + " Root", firstSerial), made.rootKey, nullptr,
                                 made.rootKey);
    made.intermediate = IssueCertificate(CaOptions(name + " Intermediate", firstSerial + 1),
                                         made.intermediateKey, &made.root, made.rootKey);
    made.leaf = made.IssueLeaf(LeafOptions(name + " Signer", firstSerial + 2), made.leafKey);
    return made;
}

Certificate Hierarchy::IssueLeaf(const CertificateOptions& options, const Key& key) const
{
    return IssueCertificate(options, key, &intermediate, intermediateKey);
}

Blob Hierarchy::Sign(std::span<const std::uint8_t> content, const SignOptions& options) const
{
    return SignLum(content, leaf, leafKey, {intermediate}, options);
}

Blob Hierarchy::Crl(const std::vector<std::uint64_t>& serials) const
{
    return MakeCrl(root, rootKey, serials);
}

Blob Hierarchy::HierarchyId() const
{
    const ASN1_INTEGER* serial = X509_get0_serialNumber(root.get());
    return Blob(serial->data, serial->data + serial->length);  // positive serials only
}

std::vector<Signer> PolicyBreakingSigners(const Hierarchy& hierarchy)
{
    std::uint64_t serial = 9000;
    const auto intermediate = [&](const std::string& name, const Key& key,
                                  const CertificateOptions& changes) {
        CertificateOptions options = changes;
        options.commonName = name;
        options.serial = ++serial;
        return IssueCertificate(options, key, &hierarchy.root, hierarchy.rootKey);
    };
    const auto signer = [&](const std::string& name, Key key, CertificateOptions options,
                            const Certificate& issuer, const Key& issuerKey) {
        options.commonName = name;
        options.serial = ++serial;
        Certificate certificate = IssueCertificate(options, key, &issuer, issuerKey);
        return Signer{name, std::move(key), std::move(certificate), {issuer}};
    };
    const Certificate& good = hierarchy.intermediate;
    const Key& goodKey = hierarchy.intermediateKey;
    const CertificateOptions leaf;
    CertificateOptions sha1Ca = CaOptions("", 0);
    sha1Ca.digest = "SHA1";
    CertificateOptions serverAuthCa = CaOptions("", 0);
    serverAuthCa.extendedKeyUsage = "serverAuth";

    const Key rsaKey = Key::Generate(Key::Type::Rsa2048);
    const Certificate rsa = intermediate("RSA Intermediate", rsaKey, CaOptions("", 0));
    const Key weakKey = Key::Generate(Key::Type::Rsa1024);
    const Certificate weak = intermediate("RSA-1024 Intermediate", weakKey, CaOptions("", 0));
    const Certificate sha1Signed = intermediate("SHA-1 Intermediate", goodKey, sha1Ca);
    const Certificate serverAuth = intermediate("serverAuth Intermediate", goodKey, serverAuthCa);
    return {
        signer("RSA-512 signer", Key::Generate(Key::Type::Rsa512), leaf, good, goodKey),
        signer("P-224 signer", Key::Generate(Key::Type::P224), leaf, good, goodKey),
        signer("RSA-1024 intermediate", Key::Generate(), leaf, weak, weakKey),
        signer("ECDSA-SHA1 signer", Key::Generate(), {.digest = "SHA1"}, good, goodKey),
        signer("RSA-MD5 signer", Key::Generate(), {.digest = "MD5"}, rsa, rsaKey),
        signer("SHA-1 intermediate", Key::Generate(), leaf, sha1Signed, goodKey),
        signer("CA signer", Key::Generate(), {.basicConstraints = "critical,CA:TRUE"}, good,
               goodKey),
        signer("serverAuth intermediate", Key::Generate(), leaf, serverAuth, goodKey),
    };
}

Blob ToBlob(std::string_view text)
{
    return Blob(text.begin(), text.end());
}

std::string Tlv(std::uint8_t tag, const std::string& content)
{
    std::string length;
    for (std::size_t n = content.size(); n != 0; n >>= 8) {
        length.insert(length.begin(), static_cast<char>(n & 0xFF));
    }
    length = content.size() < 0x80 ? std::string(1, static_cast<char>(content.size()))
                                   : static_cast<char>(0x80 | length.size()) + length;
    return static_cast<char>(tag) + length + content;
}

std::string ToText(std::span<const std::uint8_t> bytes)
{
    return {bytes.begin(), bytes.end()};
}

}  // namespace integrity_check_tool::test::pki
