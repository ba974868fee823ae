#pragma once

#include <string>
#include <vector>

namespace integrity_check_tool::test {

/// What a finished program printed and returned.
struct ProcessResult {
    int exitStatus = -1;
    std::string out;
    std::string err;
};

/// Runs `program` with `arguments` (without argv[0]), under the build's
/// emulator when there is one, and waits for it. `workingDirectory` empty
/// keeps the current one. `launcher`, a native command line, is put in front
/// of everything (to drop privileges, say).
ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory = {},
                         const std::vector<std::string>& launcher = {});

/// Runs `command` (program first) natively, never under the emulator: for
/// host tools such as openssl.
ProcessResult RunHostProcess(std::vector<std::string> command,
                             const std::string& workingDirectory = {});

/// A TCP port on the loopback interface that nobody listens on right now;
/// 0 when none could be had.
int FreeLoopbackPort();

/// The emulator command of a cross build, empty natively.
std::vector<std::string> EmulatorCommand();

}  // namespace integrity_check_tool::test
