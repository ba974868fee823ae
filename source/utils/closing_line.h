#pragma once

#include <functional>

namespace integrity_check_tool {

/// How a program's body ended, which decides its closing line.
enum class Outcome {
    /// "SUCCEEDED" on stdout, exit status 0.
    Succeeded,
    /// "FAILED" on stderr, exit status 1.
    Failed,
    /// No closing line, exit status 0 (the help was printed).
    Quiet,
};

/// The shell of every program's main(): sets up the global locale, runs
/// `body` and prints the closing line its outcome asks for. An exception
/// from either is described on stderr, followed by "FAILED". Returns the
/// exit status (0 or 1); nothing escapes.
int RunWithClosingLine(const std::function<Outcome()>& body);

}  // namespace integrity_check_tool
