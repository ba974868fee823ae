#pragma once

#include <memory>

#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/ec.h>

namespace integrity_check_tool::vorn {

template <class T, void (*Free)(T*)> struct OpenSslDeleter {
    void operator()(T* handle) const noexcept { Free(handle); }
};

/// Owning OpenSSL handles used by the GOST R 34.10-2012 code.
using BignumPtr = std::unique_ptr<BIGNUM, OpenSslDeleter<BIGNUM, BN_clear_free>>;
using BnCtxPtr = std::unique_ptr<BN_CTX, OpenSslDeleter<BN_CTX, BN_CTX_free>>;
using EcGroupPtr = std::unique_ptr<EC_GROUP, OpenSslDeleter<EC_GROUP, EC_GROUP_free>>;
using EcPointPtr = std::unique_ptr<EC_POINT, OpenSslDeleter<EC_POINT, EC_POINT_clear_free>>;
using Asn1ObjectPtr = std::unique_ptr<ASN1_OBJECT, OpenSslDeleter<ASN1_OBJECT, ASN1_OBJECT_free>>;

}  // namespace integrity_check_tool::vorn
