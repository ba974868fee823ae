#pragma once

#include <string>
#include <vector>

#include "support/process.h"
#include "types.h"

namespace integrity_check_tool::test {

/// The built programs.
enum class Program { Checker, CheckTool, Tester, Sign };

/// Runs one of the built programs and collects its output.
ProcessResult RunProgram(Program program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory = {},
                         const std::vector<std::string>& launcher = {});

/// Runs one of the built programs as an unprivileged user when the tests
/// run as root, so that file permissions apply; otherwise like RunProgram.
/// The user may not be able to enter the checkout (a private home
/// directory, say), so it runs a copy of the program placed in `shared`, a
/// directory every user can enter.
ProcessResult RunProgramUnprivileged(Program program, const std::vector<std::string>& arguments,
                                     const Path& shared);

/// A file of the committed demo hierarchy, e.g. DemoPki("regular/leaf.pem").
std::string DemoPki(const std::string& relative);

/// Splits output into lines (without line ends).
std::vector<std::string> Lines(const std::string& text);

}  // namespace integrity_check_tool::test
