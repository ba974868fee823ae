#pragma once

#include <functional>
#include <string>

#include "arguments/arguments.h"

namespace integrity_check_tool {

/// The whole process: locale, arguments, help or one run, closing line.
/// Returns the exit status (0 or 1); nothing escapes.
int RunProgram(int argc, char** argv, const std::function<ArgumentsPtr()>& createArguments);

}  // namespace integrity_check_tool
