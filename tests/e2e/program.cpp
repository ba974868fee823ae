#include "program.h"

#include <unistd.h>

#include <cstdlib>

#include <boost/filesystem/operations.hpp>

namespace integrity_check_tool::test {

namespace {

/// The built program, or its copy in $ICT_TEST_PROGRAM_DIR when set (CI
/// runs the tests on programs placed in a private directory that way).
std::string ProgramPath(Program program)
{
    const Path built = program == Program::Checker     ? ICT_CHECKER_PATH
                       : program == Program::CheckTool ? ICT_CHECK_TOOL_PATH
                       : program == Program::Tester    ? ICT_TESTER_PATH
                                                       : ICT_SIGN_PATH;
    const char* directory = std::getenv("ICT_TEST_PROGRAM_DIR");
    if (directory == nullptr || *directory == '\0') {
        return built.string();
    }
    return (Path(directory) / built.filename()).string();
}

}  // namespace

ProcessResult RunProgram(Program program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory, const std::vector<std::string>& launcher)
{
    return RunProcess(ProgramPath(program), arguments, workingDirectory, launcher);
}

ProcessResult RunProgramUnprivileged(Program program, const std::vector<std::string>& arguments,
                                     const Path& shared)
{
    if (::geteuid() != 0) {
        return RunProgram(program, arguments);
    }
    const Path source(ProgramPath(program));
    const Path copy = shared / source.filename();
    if (!boost::filesystem::exists(copy)) {
        boost::filesystem::copy_file(source, copy);
        boost::filesystem::permissions(copy, boost::filesystem::owner_all | boost::filesystem::group_read |
                                                 boost::filesystem::group_exe | boost::filesystem::others_read |
                                                 boost::filesystem::others_exe);
    }
    return RunProcess(copy.string(), arguments, {},
                      {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
}

std::string DemoPki(const std::string& relative) { return std::string(ICT_DEMO_PKI_DIR) + "/" + relative; }

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = text.find('\n', start);
        if (end == std::string::npos) {
            lines.push_back(text.substr(start));
            break;
        }
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

}  // namespace integrity_check_tool::test
