#include "sign_tool.h"

#include <algorithm>
#include <boost/filesystem/operations.hpp>

namespace integrity_check_tool::test {

ProcessResult RunSign(const std::vector<std::string>& arguments)
{
    return RunProcess(ICT_SIGN_PATH, arguments);
}

ProcessResult RunOpenSsl(const std::vector<std::string>& arguments)
{
    std::vector<std::string> command{"openssl"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunHostProcess(command);
}

std::string Demo(const std::string& relative)
{
    return std::string(ICT_DEMO_PKI_DIR) + "/" + relative;
}

std::optional<SignedParts> SplitSignedFile(const std::string& file)
{
    static const std::string kMagic("\0LUMSIG\1", 8);
    if (file.size() < 12 || file.compare(file.size() - 8, 8, kMagic) != 0) {
        return std::nullopt;
    }
    std::size_t length = 0;
    for (std::size_t i = file.size() - 12; i < file.size() - 8; ++i) {
        length = length << 8 | static_cast<unsigned char>(file[i]);
    }
    if (length > file.size() - 12) {
        return std::nullopt;
    }
    const std::size_t contentSize = file.size() - 12 - length;
    return SignedParts{file.substr(0, contentSize), file.substr(contentSize, length)};
}

std::vector<std::string> ListDirectory(const Path& directory)
{
    std::vector<std::string> names;
    for (const auto& entry : boost::filesystem::directory_iterator(directory)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace integrity_check_tool::test
