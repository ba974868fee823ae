#pragma once

#include <memory>

#include <openssl/bn.h>
#include <openssl/cms.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

namespace crypto::lum {

/// Owning handles for the OpenSSL objects of this library.
template <class T, void (*Free)(T*)> struct OpenSslDeleter {
    void operator()(T* object) const noexcept { Free(object); }
};

inline void FreeCertificateStack(STACK_OF(X509) * stack)
{
    sk_X509_pop_free(stack, X509_free);
}

using X509Ptr = std::unique_ptr<X509, OpenSslDeleter<X509, X509_free>>;
using X509CrlPtr = std::unique_ptr<X509_CRL, OpenSslDeleter<X509_CRL, X509_CRL_free>>;
using X509StorePtr = std::unique_ptr<X509_STORE, OpenSslDeleter<X509_STORE, X509_STORE_free>>;
using X509StoreCtxPtr =
    std::unique_ptr<X509_STORE_CTX, OpenSslDeleter<X509_STORE_CTX, X509_STORE_CTX_free>>;
using CertificateStackPtr =
    std::unique_ptr<STACK_OF(X509), OpenSslDeleter<STACK_OF(X509), FreeCertificateStack>>;
using CmsPtr =
    std::unique_ptr<CMS_ContentInfo, OpenSslDeleter<CMS_ContentInfo, CMS_ContentInfo_free>>;
using BignumPtr = std::unique_ptr<BIGNUM, OpenSslDeleter<BIGNUM, BN_free>>;
using Asn1ObjectPtr = std::unique_ptr<ASN1_OBJECT, OpenSslDeleter<ASN1_OBJECT, ASN1_OBJECT_free>>;

}  // namespace crypto::lum
