#pragma once

#include <cstdint>
#include <string>

namespace crypto::lum {

/// Result code of the signature library: 0 success, positive a non-error
/// outcome, negative an error.
enum LumResult : std::int32_t {
    lumIncompleteSignature = 2,
    lumSignatureNotFound = 1,
    lumOk = 0,
    lumErrNotInitialized = -1,
    lumErrInvalidState = -2,
    lumErrInvalidArgument = -3,
    lumErrInvalidFormat = -4,
    lumErrNotImplemented = -5,
    lumErrInvalidValue = -6,
    lumErrBadAlloc = -7,
    lumErrUnknown = -8,
    lumErrNotEnough = -9,
    lumErrAlreadyExists = -10,
    lumErrNotFound = -11,
    lumErrCryptoLib = -12,
    lumErrInvalidSignature = -13,
    lumErrInvalidSize = -14,
    lumErrSigningFailed = -15,
    lumErrCallbackRead = -16,
    lumErrUntrusted = -17,
    lumErrNotMatched = -18,
    lumErrRdbAbsent = -19,
    lumErrRdbAlreadyExists = -20,
};

/// The code's name ("lumOk"), or "Unknown LUM error code: " and the number.
std::string LumResultName(std::int32_t result);

}  // namespace crypto::lum
