#include "program.h"

namespace integrity_check_tool::test {

ProcessResult RunProgram(Program program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory, const std::vector<std::string>& launcher)
{
    const char* path = program == Program::Checker     ? ICT_CHECKER_PATH
                       : program == Program::CheckTool ? ICT_CHECK_TOOL_PATH
                                                       : ICT_TESTER_PATH;
    return RunProcess(path, arguments, workingDirectory, launcher);
}

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
