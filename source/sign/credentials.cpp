#include "sign/credentials.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include <openssl/err.h>
#include <openssl/pem.h>

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

/// Never prompts: an encrypted key fails instead of waiting for a terminal.
int NoPassword(char*, int, int, void*)
{
    return -1;
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

EvpPkeyPtr LoadPrivateKey(const Path& path)
{
    const Blob content = ReadCredentialFile(path);
    BioPtr bio = MemoryBio(content);
    EvpPkeyPtr key(LooksLikePem(content)
                       ? PEM_read_bio_PrivateKey(bio.get(), nullptr, NoPassword, nullptr)
                       : d2i_PrivateKey_bio(bio.get(), nullptr));
    if (!key) {
        ICT_THROW(messages::kCantReadKey, path.string(), TakeOpenSslError());
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
        ICT_THROW(messages::kCantReadCertificate, path.string(), TakeOpenSslError());
    }
    // The PEM loop ends on "no start line"; that is not an error.
    ERR_clear_error();
    return certificates;
}

X509CrlPtr LoadCrl(const Path& path)
{
    const Blob content = ReadCredential(path, kCrlLimit);
    BioPtr bio = MemoryBio(content);
    X509CrlPtr crl(LooksLikePem(content)
                       ? PEM_read_bio_X509_CRL(bio.get(), nullptr, NoPassword, nullptr)
                       : d2i_X509_CRL_bio(bio.get(), nullptr));
    if (!crl) {
        ICT_THROW(messages::kCantReadCrl, path.string(), TakeOpenSslError());
    }
    ERR_clear_error();
    return crl;
}

}  // namespace integrity_check_tool::sign
