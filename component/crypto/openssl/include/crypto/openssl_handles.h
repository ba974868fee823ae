#pragma once

// Owning handles for the OpenSSL objects that the signature code, the
// signature service and the signing tool hold: each frees its object with
// the matching OpenSSL function. Big numbers may hold private keys and
// nonces, so they are always wiped.

#include <memory>

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/cms.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/ts.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

namespace crypto {

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

template <class T, void (*Free)(T*)> using OpenSslPtr = std::unique_ptr<T, OpenSslDeleter<T, Free>>;

using Asn1IntegerPtr = OpenSslPtr<ASN1_INTEGER, ASN1_INTEGER_free>;
using Asn1ObjectPtr = OpenSslPtr<ASN1_OBJECT, ASN1_OBJECT_free>;
using Asn1TimePtr = OpenSslPtr<ASN1_TIME, ASN1_TIME_free>;
using BignumPtr = OpenSslPtr<BIGNUM, BN_clear_free>;
using BioPtr = OpenSslPtr<BIO, detail::FreeBio>;
using BnCtxPtr = OpenSslPtr<BN_CTX, BN_CTX_free>;
using CertificateStackPtr = OpenSslPtr<STACK_OF(X509), detail::FreeCertificates>;
using CmsPtr = OpenSslPtr<CMS_ContentInfo, CMS_ContentInfo_free>;
using EcGroupPtr = OpenSslPtr<EC_GROUP, EC_GROUP_free>;
using EcPointPtr = OpenSslPtr<EC_POINT, EC_POINT_clear_free>;
using EvpMdCtxPtr = OpenSslPtr<EVP_MD_CTX, EVP_MD_CTX_free>;
using EvpMdPtr = OpenSslPtr<EVP_MD, EVP_MD_free>;
using EvpPkeyPtr = OpenSslPtr<EVP_PKEY, EVP_PKEY_free>;
using Pkcs7Ptr = OpenSslPtr<PKCS7, PKCS7_free>;
using TsTstInfoPtr = OpenSslPtr<TS_TST_INFO, TS_TST_INFO_free>;
using X509CrlPtr = OpenSslPtr<X509_CRL, X509_CRL_free>;
using X509ExtensionPtr = OpenSslPtr<X509_EXTENSION, X509_EXTENSION_free>;
using X509Ptr = OpenSslPtr<X509, X509_free>;
using X509RevokedPtr = OpenSslPtr<X509_REVOKED, X509_REVOKED_free>;
using X509StoreCtxPtr = OpenSslPtr<X509_STORE_CTX, X509_STORE_CTX_free>;
using X509StorePtr = OpenSslPtr<X509_STORE, X509_STORE_free>;

}  // namespace crypto
