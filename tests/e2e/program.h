#pragma once

#include <string>
#include <vector>

#include "support/process.h"

namespace integrity_check_tool::test {

/// The three built programs.
enum class Program { Checker, CheckTool, Tester };

/// Runs one of the built programs and collects its output.
ProcessResult RunProgram(Program program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory = {},
                         const std::vector<std::string>& launcher = {});

/// Splits output into lines (without line ends).
std::vector<std::string> Lines(const std::string& text);

}  // namespace integrity_check_tool::test
