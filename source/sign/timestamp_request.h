#pragma once

#include <cstdint>
#include <span>

#include "sign/timestamp_handles.h"
#include "types.h"

namespace integrity_check_tool::sign {

/// An RFC 3161 TimeStampReq.
class TimestampRequest final {
public:
    /// Version 1, the SHA-256 `imprint`, a fresh random 64-bit nonce, the
    /// TSA's certificate asked for and no policy: what `openssl ts -query
    /// -sha256 -cert` writes. Throws Exception when OpenSSL fails.
    static TimestampRequest ForImprint(std::span<const std::uint8_t> imprint);
    /// The DER request in `path`; throws Exception when it can't be read or
    /// does not parse.
    static TimestampRequest Read(const Path& path);

    Blob ToDer() const;
    /// The nonce; null when the request has none.
    const ASN1_INTEGER* Nonce() const noexcept;

private:
    explicit TimestampRequest(TsReqPtr request);

    TsReqPtr request_;
};

}  // namespace integrity_check_tool::sign
