#pragma once

#include <string>
#include <vector>

#include "support/process.h"

// What the signing tool's tests share: running it and stock openssl, and
// finding the committed demo material.
namespace integrity_check_tool::test {

using Arguments = std::vector<std::string>;

inline ProcessResult RunSign(const Arguments& arguments)
{
    return RunProcess(ICT_SIGN_PATH, arguments);
}

inline ProcessResult RunOpenSsl(Arguments arguments)
{
    arguments.insert(arguments.begin(), "openssl");
    return RunHostProcess(arguments);
}

inline constexpr const char* kVerifiedRegular =
    "Verified: chains to the compiled-in regular roots (integrity_checker, integrity_check_tool)";

/// Whether `err` is how the tool fails: one line with the reason (a usage
/// error adds the pointer to --help), then FAILED.
inline bool IsOneLineFailure(const std::string& err)
{
    const std::size_t end = err.find('\n');
    if (end == std::string::npos || end == 0) {
        return false;
    }
    const std::string rest = err.substr(end + 1);
    return rest == "FAILED\n" || rest == "Try 'integrity_sign --help'.\nFAILED\n";
}

/// A committed demo file, e.g. Demo("regular/leaf.pem").
inline std::string Demo(const std::string& relative)
{
    return std::string(ICT_DEMO_PKI_DIR) + "/" + relative;
}

}  // namespace integrity_check_tool::test
