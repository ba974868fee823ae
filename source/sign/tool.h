#pragma once

namespace integrity_check_tool::sign {

/// The whole signing tool: arguments, help or one command, closing line.
/// Returns the exit status (0 or 1); nothing escapes.
int RunSignTool(int argc, char** argv);

}  // namespace integrity_check_tool::sign
