#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "types.h"

namespace integrity_check_tool {

/// What a signature check found out, for the machine-readable report.
struct SignatureDetails {
    /// The certificate that made the signature.
    struct Signer {
        std::string subject;  ///< RFC 2253 one-line form
        std::string serial;   ///< upper-case hex
        std::int64_t notAfter = 0;
    };

    /// The signature type's option value, "without-signature" when none is checked.
    std::string type = "without-signature";
    /// Names of the verification flags; empty for types without flags.
    std::vector<std::string> flags;
    std::optional<Signer> signer;
    /// The time a good time-stamp token proved (Unix time).
    std::optional<std::int64_t> timestamp;
};

/// Checks a manifest file's signature and hands back the signed content.
class ISignatureVerifier {
public:
    virtual ~ISignatureVerifier() = default;
    /// Fills `content` with the bytes before the signature when it is good;
    /// throws Exception otherwise and leaves `content` untouched.
    virtual void Verify(const Path& file, Blob& content) const = 0;
    /// Verify() that also fills `details` as far as the check got, which it
    /// does before throwing too. Only the type unless a verifier knows more.
    virtual void VerifyWithDetails(const Path& file, Blob& content, SignatureDetails& details) const
    {
        details = SignatureDetails{};
        Verify(file, content);
    }
};
using ISignatureVerifierPtr = std::shared_ptr<const ISignatureVerifier>;

}  // namespace integrity_check_tool
