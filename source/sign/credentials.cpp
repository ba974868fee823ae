#include "sign/credentials.h"

#include <unistd.h>

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>

#include "exception.h"
#include "sign/input_file.h"
#include "sign/messages.h"
#include "sign/openssl_error.h"

namespace integrity_check_tool::sign {

using crypto::BioPtr;
using crypto::CertificateStackPtr;
using crypto::EvpPkeyPtr;
using crypto::X509CrlPtr;
using crypto::X509Ptr;

namespace {

constexpr std::uint64_t kCredentialLimit = 1u << 20;
constexpr std::uint64_t kCrlLimit = 64u << 20;

/// A read-only memory BIO over `content`, which must outlive it.
BioPtr MemoryBio(const Blob& content)
{
    BioPtr bio(BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
    if (!bio) {
        ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
    }
    return bio;
}

Blob ReadCredential(const Path& path, std::uint64_t limit)
{
    static_assert(kCrlLimit <= static_cast<std::uint64_t>(std::numeric_limits<int>::max()));
    return ReadRegularFile(path, limit);
}

constexpr std::uint64_t kSecretFileLimit = 4096;

/// Never prompts: certificates and CRLs are not encrypted.
int NoPassword(char*, int, int, void*)
{
    return -1;
}

/// Where the passphrase of an encrypted key comes from, and whether one was
/// asked for. Read before OpenSSL calls back: nothing may throw through it.
struct PassphraseSource {
    std::string passphrase;  ///< from --pass-file; wiped on destruction
    bool fromFile = false;
    std::string prompt;
    bool asked = false;
    bool unavailable = false;

    PassphraseSource() = default;
    PassphraseSource(const PassphraseSource&) = delete;
    PassphraseSource& operator=(const PassphraseSource&) = delete;
    ~PassphraseSource() { OPENSSL_cleanse(passphrase.data(), passphrase.size()); }
};

int SupplyPassphrase(char* buffer, int size, int /*writing*/, void* context)
{
    auto& source = *static_cast<PassphraseSource*>(context);
    source.asked = true;
    if (source.fromFile) {
        const std::size_t length =
            std::min(source.passphrase.size(), static_cast<std::size_t>(size));
        std::copy_n(source.passphrase.begin(), length, buffer);
        return static_cast<int>(length);
    }
    if (isatty(STDIN_FILENO) != 1) {
        source.unavailable = true;
        return -1;
    }
    if (EVP_read_pw_string_min(buffer, 1, size, source.prompt.c_str(), 0) != 0) {
        return -1;
    }
    return static_cast<int>(std::char_traits<char>::length(buffer));
}

void Push(STACK_OF(X509) * certificates, X509Ptr certificate)
{
    if (!sk_X509_push(certificates, certificate.get())) {
        ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
    }
    static_cast<void>(certificate.release());  // the stack owns it now
}

bool LooksLikePem(const Blob& content)
{
    static constexpr std::string_view kBegin = "-----BEGIN ";
    return std::search(content.begin(), content.end(), kBegin.begin(), kBegin.end()) !=
           content.end();
}

}  // namespace

Blob ReadCredentialFile(const Path& path)
{
    return ReadCredential(path, kCredentialLimit);
}

std::string ReadSecretLine(const Path& path, const char* emptyMessage)
{
    Blob content = ReadRegularFile(path, kSecretFileLimit);
    const auto end = std::find(content.begin(), content.end(), std::uint8_t{'\n'});
    std::string line(content.begin(), end);
    OPENSSL_cleanse(content.data(), content.size());
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    if (line.empty()) {
        ICT_THROW(emptyMessage, path.string());
    }
    return line;
}

EvpPkeyPtr LoadPrivateKey(const Path& path, const std::optional<Path>& passFile)
{
    const Blob content = ReadCredentialFile(path);
    PassphraseSource source;
    if (passFile) {
        source.passphrase = ReadSecretLine(*passFile, messages::kEmptyPassFile);
        source.fromFile = true;
    }
    source.prompt = Format(messages::kPassphrasePrompt, path.string());
    BioPtr bio = MemoryBio(content);
    EvpPkeyPtr key;
    if (LooksLikePem(content)) {
        key.reset(PEM_read_bio_PrivateKey(bio.get(), nullptr, SupplyPassphrase, &source));
    } else {
        key.reset(d2i_PrivateKey_bio(bio.get(), nullptr));
        if (!key) {
            // An encrypted PKCS#8 key in DER.
            bio = MemoryBio(content);
            key.reset(d2i_PKCS8PrivateKey_bio(bio.get(), nullptr, SupplyPassphrase, &source));
        }
    }
    if (!key) {
        const std::string error = TakeOpenSslError();
        if (source.unavailable) {
            ICT_THROW(messages::kPassphraseNeeded, path.string());
        }
        if (source.asked) {
            ICT_THROW(messages::kWrongPassphrase, path.string());
        }
        ICT_THROW(messages::kCantRead, "private key", path.string(), error);
    }
    ERR_clear_error();
    return key;
}

X509Ptr LoadCertificate(const Path& path)
{
    CertificateStackPtr certificates = LoadCertificates(path);
    return X509Ptr(sk_X509_shift(certificates.get()));
}

CertificateStackPtr LoadCertificates(const Path& path)
{
    const Blob content = ReadCredential(path, kCredentialLimit);
    BioPtr bio = MemoryBio(content);
    CertificateStackPtr certificates(sk_X509_new_null());
    if (!certificates) {
        ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
    }
    if (LooksLikePem(content)) {
        while (X509Ptr certificate{PEM_read_bio_X509(bio.get(), nullptr, NoPassword, nullptr)}) {
            Push(certificates.get(), std::move(certificate));
        }
    } else if (X509Ptr certificate{d2i_X509_bio(bio.get(), nullptr)}) {
        Push(certificates.get(), std::move(certificate));
    }
    if (sk_X509_num(certificates.get()) == 0) {
        ICT_THROW(messages::kCantRead, "certificate", path.string(), TakeOpenSslError());
    }
    // The PEM loop ends on "no start line"; that is not an error.
    ERR_clear_error();
    return certificates;
}

Blob CertificateDer(X509& certificate)
{
    return EncodeDer([&](unsigned char** out) { return i2d_X509(&certificate, out); });
}

std::string SubjectOf(X509& certificate)
{
    const BioPtr bio(BIO_new(BIO_s_mem()));
    if (!bio || X509_NAME_print_ex(bio.get(), X509_get_subject_name(&certificate), 0,
                                   XN_FLAG_RFC2253) < 0) {
        return "?";
    }
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return std::string(data, static_cast<std::size_t>(size));
}

X509CrlPtr LoadCrl(const Path& path)
{
    const Blob content = ReadCredential(path, kCrlLimit);
    BioPtr bio = MemoryBio(content);
    X509CrlPtr crl(LooksLikePem(content)
                       ? PEM_read_bio_X509_CRL(bio.get(), nullptr, NoPassword, nullptr)
                       : d2i_X509_CRL_bio(bio.get(), nullptr));
    if (!crl) {
        ICT_THROW(messages::kCantRead, "CRL", path.string(), TakeOpenSslError());
    }
    ERR_clear_error();
    return crl;
}

}  // namespace integrity_check_tool::sign
