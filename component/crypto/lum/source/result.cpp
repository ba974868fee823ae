#include "lum/result.h"

#include <array>

namespace crypto::lum {

std::string LumResultName(std::int32_t result)
{
    // Indexed by 2 - result: the codes run without gaps from 2 down to -20.
    static constexpr std::array<const char*, 23> kNames{
        "lumIncompleteSignature", "lumSignatureNotFound",  "lumOk",
        "lumErrNotInitialized",   "lumErrInvalidState",    "lumErrInvalidArgument",
        "lumErrInvalidFormat",    "lumErrNotImplemented",  "lumErrInvalidValue",
        "lumErrBadAlloc",         "lumErrUnknown",         "lumErrNotEnough",
        "lumErrAlreadyExists",    "lumErrNotFound",        "lumErrCryptoLib",
        "lumErrInvalidSignature", "lumErrInvalidSize",     "lumErrSigningFailed",
        "lumErrCallbackRead",     "lumErrUntrusted",       "lumErrNotMatched",
        "lumErrRdbAbsent",        "lumErrRdbAlreadyExists"};
    if (result > lumIncompleteSignature || result < lumErrRdbAlreadyExists) {
        return "Unknown LUM error code: " + std::to_string(result);
    }
    return kNames[static_cast<std::size_t>(lumIncompleteSignature - result)];
}

}  // namespace crypto::lum
