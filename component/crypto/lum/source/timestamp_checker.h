#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "chain_validator.h"
#include "lum/revocation.h"

namespace crypto::lum {

/// What the time-stamp token of a signature established.
struct TimestampResult {
    bool present = false;               ///< the signature carries a token
    std::uint32_t flags = 0;            ///< failure flags; 0 for a good token
    std::time_t time = 0;               ///< the token's time, once it parsed
    std::vector<std::string> failures;  ///< why the token is not good, for the trace
};

/// Checks the RFC 3161 time-stamp token that a SignerInfo may carry as its
/// unsigned attribute id-aa-timeStampToken: the token's own signature, a TSA
/// certificate for time stamping that chains to a TSA root at the token's
/// time and is not revoked, an imprint over the SignerInfo's signature value,
/// and a time that is not in the future.
class TimestampChecker final {
public:
    /// `roots`: DER TSA roots (may be empty: every token then fails);
    /// `checker`: revocation databases, which TSA roots need not have.
    TimestampChecker(const std::vector<Bytes>& roots, ILumRevocationCheckerPtr checker);

    TimestampResult Check(CMS_SignerInfo& signerInfo, std::time_t now) const;

private:
    /// Flags of the TSA's chain, purpose, revocation and token signature.
    std::uint32_t CheckAuthority(PKCS7& token, std::time_t time,
                                 std::vector<std::string>& failures) const;

    ChainValidator validator_;
    ILumRevocationCheckerPtr checker_;
};

}  // namespace crypto::lum
