#include "support/pki.h"

#include <lum/format.h>
#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>
#include <stdexcept>

namespace integrity_check_tool::test::pki {

namespace {

[[noreturn]] void Fail(const std::string& what)
{
    char detail[256] = {};
    ERR_error_string_n(ERR_get_error(), detail, sizeof detail);
    ERR_clear_error();
    throw std::runtime_error("pki: " + what + ": " + detail);
}

template <class T> T* Check(T* pointer, const std::string& what)
{
    if (pointer == nullptr) {
        Fail(what);
    }
    return pointer;
}

void Check(int result, const std::string& what)
{
    if (result <= 0) {
        Fail(what);
    }
}

using BioPtr = std::unique_ptr<BIO, decltype(&BIO_free)>;

BioPtr ReadBio(const void* data, std::size_t size)
{
    static const char kNothing = 0;
    data = size == 0 ? &kNothing : data;
    return BioPtr(Check(BIO_new_mem_buf(data, static_cast<int>(size)), "BIO_new_mem_buf"),
                  BIO_free);
}

template <class T, int (*Encode)(const T*, unsigned char**)> Blob ToDerOf(const T* object)
{
    const int size = Encode(object, nullptr);
    Check(size, "i2d");
    Blob der(static_cast<std::size_t>(size));
    unsigned char* cursor = der.data();
    Encode(object, &cursor);
    return der;
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
    CertificateOptions options = LeafOptions(commonName, serial);
    options.basicConstraints = "critical,CA:TRUE";
    options.keyUsage = "critical,keyCertSign,cRLSign";
    options.extendedKeyUsage.clear();
    return options;
}

} // namespace

Key Key::Generate(Type type)
{
    EVP_PKEY* key = type == Type::P256   ? EVP_EC_gen("P-256")
                    : type == Type::P384 ? EVP_EC_gen("P-384")
                                         : EVP_RSA_gen(2048);
    return Key(std::shared_ptr<EVP_PKEY>(Check(key, "key generation"), EVP_PKEY_free));
}

Key Key::FromPem(const std::string& pem)
{
    const BioPtr bio = ReadBio(pem.data(), pem.size());
    EVP_PKEY* key = PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr);
    return Key(std::shared_ptr<EVP_PKEY>(Check(key, "PEM_read_bio_PrivateKey"), EVP_PKEY_free));
}

Certificate Certificate::FromPem(const std::string& pem)
{
    const BioPtr bio = ReadBio(pem.data(), pem.size());
    X509* certificate = PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr);
    return Certificate(std::shared_ptr<X509>(Check(certificate, "PEM_read_bio_X509"), X509_free));
}

Blob Certificate::ToDer() const
{
    return ToDerOf<X509, i2d_X509>(certificate_.get());
}

CertificateOptions LeafOptions(const std::string& commonName, std::uint64_t serial)
{
    CertificateOptions options;
    options.commonName = commonName;
    options.serial = serial;
    return options;
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
    Check(X509_sign(raw, issuerKey.get(), EVP_sha256()), "X509_sign");
    return Certificate(certificate);
}

Blob MakeCrl(const Certificate& issuer, const Key& issuerKey,
             const std::vector<std::uint64_t>& revokedSerials)
{
    const std::unique_ptr<X509_CRL, decltype(&X509_CRL_free)> crl(
        Check(X509_CRL_new(), "X509_CRL_new"), X509_CRL_free);
    Check(X509_CRL_set_version(crl.get(), 1), "X509_CRL_set_version");
    Check(X509_CRL_set_issuer_name(crl.get(), X509_get_subject_name(issuer.get())), "CRL issuer");
    const std::unique_ptr<ASN1_TIME, decltype(&ASN1_TIME_free)> time(
        Check(ASN1_TIME_new(), "ASN1_TIME_new"), ASN1_TIME_free);
    Check(X509_CRL_set1_nextUpdate(crl.get(), Adjust(time.get(), 30)), "nextUpdate");
    Check(X509_CRL_set1_lastUpdate(crl.get(), Adjust(time.get(), -1)), "lastUpdate");
    for (const std::uint64_t serial : revokedSerials) {
        X509_REVOKED* entry = Check(X509_REVOKED_new(), "X509_REVOKED_new");
        ASN1_INTEGER* number = ASN1_INTEGER_new();
        const bool filled = number != nullptr && ASN1_INTEGER_set_uint64(number, serial) == 1 &&
                            X509_REVOKED_set_serialNumber(entry, number) == 1 &&
                            X509_REVOKED_set_revocationDate(entry, time.get()) == 1;
        ASN1_INTEGER_free(number);
        if (!filled || X509_CRL_add0_revoked(crl.get(), entry) != 1) {
            X509_REVOKED_free(entry);
            Fail("revoked entry");
        }
    }
    Check(X509_CRL_sort(crl.get()), "X509_CRL_sort");
    Check(X509_CRL_sign(crl.get(), issuerKey.get(), EVP_sha256()), "X509_CRL_sign");
    return ToDerOf<X509_CRL, i2d_X509_CRL>(crl.get());
}

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
    const BioPtr data = ReadBio(content.data(), content.size());
    Check(CMS_final(cms.get(), data.get(), nullptr, mode), "CMS_final");
    return ToDerOf<CMS_ContentInfo, i2d_CMS_ContentInfo>(cms.get());
}

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

Hierarchy Hierarchy::Make(const std::string& name, std::uint64_t firstSerial)
{
    const Key rootKey = Key::Generate();
    const Certificate root =
        IssueCertificate(CaOptions(name + " Root", firstSerial), rootKey, nullptr, rootKey);
    const Key intermediateKey = Key::Generate();
    const Certificate intermediate = IssueCertificate(
        CaOptions(name + " Intermediate", firstSerial + 1), intermediateKey, &root, rootKey);
    const Key leafKey = Key::Generate();
    const Certificate leaf = IssueCertificate(LeafOptions(name + " Signer", firstSerial + 2),
                                              leafKey, &intermediate, intermediateKey);
    return Hierarchy{rootKey, root, intermediateKey, intermediate, leafKey, leaf};
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
    return Blob(serial->data, serial->data + serial->length); // positive serials only
}

Blob ToBlob(std::string_view text)
{
    return Blob(text.begin(), text.end());
}

} // namespace integrity_check_tool::test::pki
