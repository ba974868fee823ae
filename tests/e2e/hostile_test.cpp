#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

#include "program.h"
#include "support/temp_dir.h"

namespace integrity_check_tool::test {
namespace {

/// Things a manifest may name that are not plain readable files: every
/// check of them must end with a reason, never hang or exhaust memory.
class HostileFileTest : public ::testing::Test {
protected:
    HostileFileTest()
    {
        namespace fs = boost::filesystem;
        EXPECT_EQ(::mkfifo(Name("fifo").c_str(), 0644), 0);
        socket_ = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string socketPath = Name("socket");
        if (socketPath.size() < sizeof address.sun_path) {
            socketPath.copy(address.sun_path, socketPath.size());
            bound_ = ::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        }
        fs::create_directory(dir_ / "directory");
        fs::create_symlink(Name("loop2"), Name("loop1"));
        fs::create_symlink(Name("loop1"), Name("loop2"));
        // A sparse file past 4 GiB and past the value limit costs no disk.
        WriteFile(dir_ / "sparse", "");
        fs::resize_file(dir_ / "sparse", (std::uint64_t{5} << 30) + 7);
        WriteFile(dir_ / "value17m", std::string(17 * 1024 * 1024, 'v'));
        // A path of 4,000 characters (past the 4,096 limit with the prefix
        // it is refused by the system), and names no text encoding expects.
        Path deep = dir_.path();
        while (deep.string().size() + 101 + 150 < 4000) {  // names stay under 256 bytes
            deep /= std::string(100, 'd');
        }
        fs::create_directories(deep);
        longPath_ = (deep / std::string(4000 - deep.string().size() - 1, 'f')).string();
        WriteFile(longPath_, "long");
        WriteFile(Name("new\nline"), "newline");
        WriteFile(Name("bad\xff\xfe"), "bytes");
    }
    ~HostileFileTest() override { ::close(socket_); }

    std::string Name(const std::string& name) const { return (dir_ / name).string(); }

    /// A manifest checking `path` with `check` (a Check element).
    std::string Entry(const std::string& xmlPath, const std::string& check) const
    {
        return "<File path=\"" + xmlPath + "\">" + check + "</File>\n";
    }

    TempDir dir_;
    int socket_ = -1;
    bool bound_ = false;  // the path may be too long for a socket
    std::string longPath_;
};

TEST_F(HostileFileTest, ChecksOfOddFilesFailWithTheReason)
{
    const std::string sha = "<Check type=\"Sha256\" value=\"AA==\"/>";
    const std::string value = "<Check type=\"Value\" value=\"AA==\"/>";
    const std::string manifest =
        "<Manifest>\n" + Entry(Name("fifo"), sha) + Entry(Name("socket"), value) + Entry("/dev/zero", value) +
        Entry(Name("directory"), sha) + Entry(Name("loop1"), sha) + Entry(Name("sparse"), value) +
        Entry(Name("value17m"), value) + Entry(longPath_, "<Check type=\"Value\" value=\"bG9uZw==\"/>") +
        Entry(Name("new") + "&#10;line", "<Check type=\"Value\" value=\"bmV3bGluZQ==\"/>") +
        Entry(Name("bad\xff\xfe"), "<Check type=\"Value\" value=\"Ynl0ZXM=\"/>") + "</Manifest>\n";
    WriteFile(dir_ / "m.xml", manifest);
    const ProcessResult result = RunProgram(Program::Tester, {"--without-signature", Name("m.xml")});
    EXPECT_EQ(result.exitStatus, 1);
    const auto reason = [&](const std::string& path, const std::string& why) {
        const std::string line =
            "file " + path + " failed. Reason: Can't read or access file " + path + ". Reason: " + why + "\n";
        EXPECT_NE(result.err.find(line), std::string::npos) << line << "\nin:\n" << result.err;
    };
    reason(Name("fifo"), "Not a regular file");
    reason(Name("socket"), bound_ ? "No such device or address" : "No such file or directory");
    reason("/dev/zero", "Not a regular file");
    reason(Name("directory"), "Is a directory");
    reason(Name("loop1"), "Too many levels of symbolic links");
    reason(Name("sparse"), "Object is too large");
    reason(Name("value17m"), "Object is too large");
    // The long path and the odd names are files like any other.
    EXPECT_NE(result.out.find("\tFiles: 7 / 0 / 3\n"), std::string::npos) << result.out << result.err;
}

TEST_F(HostileFileTest, SingleFileValuesRefuseOddFiles)
{
    for (const char* option : {"-y", "-x", "-z"}) {
        for (const std::string& path : {Name("fifo"), std::string("/dev/zero"), Name("directory")}) {
            const ProcessResult result = RunProgram(Program::CheckTool, {option, path});
            EXPECT_EQ(result.exitStatus, 1) << option << " " << path;
            EXPECT_NE(result.err.find("Can't read or access file " + path), std::string::npos) << result.err;
        }
    }
    const ProcessResult sparse = RunProgram(Program::CheckTool, {"-z", Name("sparse")});
    EXPECT_EQ(sparse.exitStatus, 1);
    EXPECT_NE(sparse.err.find("Object is too large"), std::string::npos) << sparse.err;
    const ProcessResult value = RunProgram(Program::CheckTool, {"-z", longPath_});
    EXPECT_EQ(value.exitStatus, 0) << value.err;
    EXPECT_EQ(value.out, "bG9uZw==\nSUCCEEDED\n");
}

/// MemAvailable plus SwapFree, in bytes, as the programs see it.
std::uint64_t SystemAvailableMemory()
{
    std::ifstream meminfo("/proc/meminfo");
    std::uint64_t total = 0;
    std::string name;
    std::uint64_t kib = 0;
    std::string unit;
    while (meminfo >> name >> kib) {
        if (name == "MemAvailable:" || name == "SwapFree:") {
            total += kib * 1024;
        }
        std::getline(meminfo, unit);
    }
    return total;
}

TEST(HugeManifestTest, ManifestsTheMachineCannotHoldAreRefusedBeforeTheyAreRead)
{
    TempDir dir;
    const std::string huge = (dir / "huge.xml").string();
    const std::string half = (dir / "half.xml").string();
    WriteFile(huge, "");
    WriteFile(half, "");
    boost::system::error_code error;
    boost::filesystem::resize_file(huge, std::uint64_t{4} << 40, error);
    if (error) {
        GTEST_SKIP() << "the file system holds no sparse file of 4 TiB: " << error.message();
    }
    // Half the memory fits as text, but not as the model it parses into.
    boost::filesystem::resize_file(half, SystemAvailableMemory() / 2);
    const std::string pki = DemoPki("regular/");
    const std::string outOfMemory = "(Out of memory)";
    const struct {
        Program program;
        std::vector<std::string> arguments;
        std::string message;
    } runs[] = {
        {Program::Tester, {"--without-signature", huge}, outOfMemory},
        {Program::Checker, {huge}, outOfMemory},
        {Program::Checker, {"--signature-type", "vorn2", huge}, "Failed to allocate necessary memory"},
        {Program::CheckTool, {"-n", "-m", huge}, outOfMemory},
        {Program::CheckTool, {"-n", "-m", half}, outOfMemory},
        {Program::Sign, {"--type", "lum", "--key", pki + "leaf.key", "--cert", pki + "leaf.pem", huge},
         huge + " is too large"},
    };
    for (const auto& run : runs) {
        SCOPED_TRACE(run.arguments.front() + " " + run.arguments.back());
        const ProcessResult result = RunProgram(run.program, run.arguments);
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_NE(result.err.find(run.message), std::string::npos) << result.err;
    }
    EXPECT_EQ(boost::filesystem::file_size(huge), std::uint64_t{4} << 40);
}

}  // namespace
}  // namespace integrity_check_tool::test
