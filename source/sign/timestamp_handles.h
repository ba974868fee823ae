#pragma once

// Owning handles for the time-stamping objects of OpenSSL.

#include <crypto/openssl_handles.h>
#include <openssl/pkcs7.h>
#include <openssl/ts.h>

namespace integrity_check_tool::sign {

using Pkcs7Ptr = crypto::OpenSslPtr<PKCS7, PKCS7_free>;
using TsReqPtr = crypto::OpenSslPtr<TS_REQ, TS_REQ_free>;
using TsRespPtr = crypto::OpenSslPtr<TS_RESP, TS_RESP_free>;
using TsVerifyCtxPtr = crypto::OpenSslPtr<TS_VERIFY_CTX, TS_VERIFY_CTX_free>;

}  // namespace integrity_check_tool::sign
