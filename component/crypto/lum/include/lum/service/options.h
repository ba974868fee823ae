#pragma once

#include <cstdint>
#include <string>

namespace crypto::lum::service {

/// Whether a created verifier insists on revocation databases for its roots.
enum class CreateVerifierOptions : std::uint32_t {
    RevocationDatabaseIsRequired = 0,
    RevocationDatabaseIsOptional = 1,
};

/// "CreateVerifierOptions::RevocationDatabaseIsRequired", ... or "<UNKNOWN>(n)".
std::string ToString(CreateVerifierOptions options);
/// Whether `value` names one of the options.
bool IsValid(CreateVerifierOptions options) noexcept;

/// How test roots of a class are treated; a bit set.
using TestRootHandlingPolicyFlags = std::uint32_t;
/// Test roots become required roots, so their revocation databases must exist.
inline constexpr TestRootHandlingPolicyFlags kCrlMustExist = 0x1;

/// "CrlMustExist" joined by "|", "None" for 0, "<UNKNOWN>(n)" with unknown bits.
std::string TestRootHandlingPolicyFlagsToString(TestRootHandlingPolicyFlags flags);

}  // namespace crypto::lum::service
