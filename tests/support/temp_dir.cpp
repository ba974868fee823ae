#include "support/temp_dir.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <boost/filesystem/operations.hpp>

namespace integrity_check_tool::test {

TempDir::TempDir(Access access)
{
    const char* base = access == Access::Owner ? std::getenv("TMPDIR") : nullptr;
    std::string pattern =
        std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/ict-test-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("mkdtemp failed");
    }
    path_ = pattern;
    if (access == Access::Everyone) {
        boost::filesystem::permissions(path_, boost::filesystem::perms(0755));
    }
}

TempDir::~TempDir()
{
    boost::system::error_code error;
    // Tests may have taken permissions away; give them back before removing.
    for (auto it = boost::filesystem::recursive_directory_iterator(path_, error);
         !error && it != boost::filesystem::recursive_directory_iterator(); it.increment(error)) {
        if (!boost::filesystem::is_symlink(it->path())) {
            boost::filesystem::permissions(
                it->path(), boost::filesystem::owner_all | boost::filesystem::add_perms, error);
        }
    }
    boost::filesystem::remove_all(path_, error);
}

void WriteFile(const Path& path, std::string_view content)
{
    if (path.has_parent_path()) {
        boost::filesystem::create_directories(path.parent_path());
    }
    std::ofstream out(path.string(), std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!out) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

std::string ReadFile(const Path& path)
{
    std::ifstream in(path.string(), std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read " + path.string());
    }
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace integrity_check_tool::test
