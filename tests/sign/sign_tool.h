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

/// A committed demo file, e.g. Demo("regular/leaf.pem").
inline std::string Demo(const std::string& relative)
{
    return std::string(ICT_DEMO_PKI_DIR) + "/" + relative;
}

}  // namespace integrity_check_tool::test
