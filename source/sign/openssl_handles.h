#pragma once

#include <memory>

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

namespace integrity_check_tool::sign {

/// Calls an OpenSSL free function; the deleter of every owned handle.
template <class T, void (*Free)(T*)> struct OpenSslDeleter {
    void operator()(T* handle) const noexcept { Free(handle); }
};

namespace detail {
inline void FreeCertificates(STACK_OF(X509) * certificates)
{
    sk_X509_pop_free(certificates, X509_free);
}
inline void FreeBio(BIO* bio)
{
    BIO_free_all(bio);
}
}  // namespace detail

/// Owned OpenSSL handles.
using X509Ptr = std::unique_ptr<X509, OpenSslDeleter<X509, X509_free>>;
using X509CrlPtr = std::unique_ptr<X509_CRL, OpenSslDeleter<X509_CRL, X509_CRL_free>>;
using EvpPkeyPtr = std::unique_ptr<EVP_PKEY, OpenSslDeleter<EVP_PKEY, EVP_PKEY_free>>;
using BioPtr = std::unique_ptr<BIO, OpenSslDeleter<BIO, detail::FreeBio>>;
using CmsPtr =
    std::unique_ptr<CMS_ContentInfo, OpenSslDeleter<CMS_ContentInfo, CMS_ContentInfo_free>>;
using BignumPtr = std::unique_ptr<BIGNUM, OpenSslDeleter<BIGNUM, BN_free>>;
using Asn1IntegerPtr =
    std::unique_ptr<ASN1_INTEGER, OpenSslDeleter<ASN1_INTEGER, ASN1_INTEGER_free>>;
using Asn1TimePtr = std::unique_ptr<ASN1_TIME, OpenSslDeleter<ASN1_TIME, ASN1_TIME_free>>;
using X509RevokedPtr =
    std::unique_ptr<X509_REVOKED, OpenSslDeleter<X509_REVOKED, X509_REVOKED_free>>;
using X509ExtensionPtr =
    std::unique_ptr<X509_EXTENSION, OpenSslDeleter<X509_EXTENSION, X509_EXTENSION_free>>;
using CertificateStackPtr =
    std::unique_ptr<STACK_OF(X509), OpenSslDeleter<STACK_OF(X509), detail::FreeCertificates>>;

}  // namespace integrity_check_tool::sign
