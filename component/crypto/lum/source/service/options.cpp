#include "lum/service/options.h"

namespace crypto::lum::service {

namespace {

std::string Unknown(std::uint32_t value)
{
    return "<UNKNOWN>(" + std::to_string(value) + ")";
}

}  // namespace

bool IsValid(CreateVerifierOptions options) noexcept
{
    return options == CreateVerifierOptions::RevocationDatabaseIsRequired ||
           options == CreateVerifierOptions::RevocationDatabaseIsOptional;
}

std::string ToString(CreateVerifierOptions options)
{
    switch (options) {
    case CreateVerifierOptions::RevocationDatabaseIsRequired:
        return "CreateVerifierOptions::RevocationDatabaseIsRequired";
    case CreateVerifierOptions::RevocationDatabaseIsOptional:
        return "CreateVerifierOptions::RevocationDatabaseIsOptional";
    }
    return Unknown(static_cast<std::uint32_t>(options));
}

std::string TestRootHandlingPolicyFlagsToString(TestRootHandlingPolicyFlags flags)
{
    if (flags == 0) {
        return "None";
    }
    if ((flags & ~kCrlMustExist) != 0) {
        return Unknown(flags);
    }
    return "CrlMustExist";
}

}  // namespace crypto::lum::service
