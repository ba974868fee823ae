#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "sign/lum_signed_file.h"
#include "sign/timestamp_handles.h"
#include "sign/timestamp_request.h"
#include "types.h"

namespace integrity_check_tool::sign {

/// An RFC 3161 TimeStampResp, checked before its token is embedded.
class TimestampReply final {
public:
    /// Parses the DER `reply`; `source` (a file or a URL) names it in
    /// messages. Throws Exception when it does not parse.
    TimestampReply(std::span<const std::uint8_t> reply, std::string source);

    /// The token (DER TimeStampToken) once the reply is granted, its imprint
    /// is the SHA-256 of `file`'s signature value, its nonce is `request`'s
    /// (when given; `requestName` names it), its time is not in the future,
    /// and it is signed by a time-stamping certificate that chains, at that
    /// time, to one of the compiled-in TSA roots. Throws Exception naming the
    /// first check that fails.
    Blob VerifiedToken(const LumSignedFile& file, const TimestampRequest* request,
                       const std::string& requestName) const;

private:
    void CheckStatus() const;
    void CheckNonce(const TimestampRequest& request, const std::string& requestName) const;
    X509* Signer() const;
    void CheckSigner(X509* signer, const ASN1_GENERALIZEDTIME& time) const;
    void CheckSignature(const ASN1_GENERALIZEDTIME& time) const;

    TsRespPtr reply_;
    std::string source_;
};

}  // namespace integrity_check_tool::sign
