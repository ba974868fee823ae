#include "lum/flags.h"

#include <array>
#include <cstdio>

namespace crypto::lum {

std::string VerificationFlagsToString(std::uint32_t value)
{
    static constexpr std::array<const char*, 32> kNames{
        "Signed", "Trusted", "Embedded", "Catalog", "RevocationCheckSkipped",
        "CounterSignatureUsed", nullptr, nullptr, "SignatureValueNotMatched", "MalformedContent",
        "IncompleteChain", "Revoked", "Expired", "InvalidExtension", "UnconsumedCriticalExtension",
        "InvalidUsage", "InvalidIssuer",
        // The misspelling is part of the established output.
        "InvalidBasicContraints", "InvalidPurpose", "InvalidCertificateSign"};
    if (value == 0) {
        return "None";
    }
    std::string text;
    for (std::size_t bit = 0; bit < kNames.size(); ++bit) {
        const std::uint32_t mask = std::uint32_t{1} << bit;
        if ((value & mask) == 0) {
            continue;
        }
        if (!text.empty()) {
            text += '|';
        }
        if (kNames[bit] != nullptr) {
            text += kNames[bit];
        } else {
            char hex[16];
            std::snprintf(hex, sizeof hex, "0x%X", static_cast<unsigned>(mask));
            text += hex;
        }
    }
    return text;
}

}  // namespace crypto::lum
