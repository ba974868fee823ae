#include "sign/timestamp_request.h"

#include <array>
#include <utility>

#include <openssl/rand.h>

#include "exception.h"
#include "sign/input_file.h"
#include "sign/messages.h"
#include "sign/openssl_error.h"

namespace integrity_check_tool::sign {

using crypto::Asn1IntegerPtr;
using crypto::BignumPtr;

namespace {

// Requests are a hundred bytes; anything far larger is not one.
constexpr std::uint64_t kMaxRequestSize = 64 * 1024;

using ImprintPtr = crypto::OpenSslPtr<TS_MSG_IMPRINT, TS_MSG_IMPRINT_free>;
using AlgorithmPtr = crypto::OpenSslPtr<X509_ALGOR, X509_ALGOR_free>;

[[noreturn]] void Fail()
{
    ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
}

Asn1IntegerPtr RandomNonce()
{
    std::array<unsigned char, 8> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
        Fail();
    }
    const BignumPtr number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    Asn1IntegerPtr nonce(number ? BN_to_ASN1_INTEGER(number.get(), nullptr) : nullptr);
    if (!nonce) {
        Fail();
    }
    return nonce;
}

}  // namespace

TimestampRequest::TimestampRequest(TsReqPtr request) : request_(std::move(request)) {}

TimestampRequest TimestampRequest::ForImprint(std::span<const std::uint8_t> imprint)
{
    TsReqPtr request(TS_REQ_new());
    const ImprintPtr messageImprint(TS_MSG_IMPRINT_new());
    const AlgorithmPtr algorithm(X509_ALGOR_new());
    if (!request || !messageImprint || !algorithm ||
        X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(NID_sha256), V_ASN1_NULL, nullptr) != 1 ||
        TS_MSG_IMPRINT_set_algo(messageImprint.get(), algorithm.get()) != 1 ||
        TS_MSG_IMPRINT_set_msg(messageImprint.get(), const_cast<unsigned char*>(imprint.data()),
                               static_cast<int>(imprint.size())) != 1 ||
        TS_REQ_set_version(request.get(), 1) != 1 ||
        TS_REQ_set_msg_imprint(request.get(), messageImprint.get()) != 1 ||
        TS_REQ_set_nonce(request.get(), RandomNonce().get()) != 1 ||
        TS_REQ_set_cert_req(request.get(), 1) != 1) {
        Fail();
    }
    return TimestampRequest(std::move(request));
}

TimestampRequest TimestampRequest::Read(const Path& path)
{
    const Blob der = ReadRegularFile(path, kMaxRequestSize);
    const unsigned char* cursor = der.data();
    TsReqPtr request(d2i_TS_REQ(nullptr, &cursor, static_cast<long>(der.size())));
    if (!request) {
        ICT_THROW(messages::kCantReadRequest, path.string(), TakeOpenSslError());
    }
    return TimestampRequest(std::move(request));
}

Blob TimestampRequest::ToDer() const
{
    const int size = i2d_TS_REQ(request_.get(), nullptr);
    if (size <= 0) {
        Fail();
    }
    Blob der(static_cast<std::size_t>(size));
    unsigned char* cursor = der.data();
    if (i2d_TS_REQ(request_.get(), &cursor) != size) {
        Fail();
    }
    return der;
}

const ASN1_INTEGER* TimestampRequest::Nonce() const noexcept
{
    return TS_REQ_get_nonce(request_.get());
}

}  // namespace integrity_check_tool::sign
