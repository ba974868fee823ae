#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>
#include <zel/available_memory.h>

#include "program.h"

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
            bound_ =
                ::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
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

    TempDir dir_;
    int socket_ = -1;
    bool bound_ = false;  // the path may be too long for a socket
    std::string longPath_;
};

TEST_F(HostileFileTest, ChecksOfOddFilesFailWithTheReason)
{
    const std::string sha = "<Check type=\"Sha256\" value=\"AA==\"/>";
    const std::string value = "<Check type=\"Value\" value=\"AA==\"/>";
    const auto entry = [](const std::string& path, const std::string& check) {
        return "<File path=\"" + path + "\">" + check + "</File>\n";
    };
    const std::string manifest =
        "<Manifest>\n" + entry(Name("fifo"), sha) + entry(Name("socket"), value) +
        entry("/dev/zero", value) + entry(Name("directory"), sha) + entry(Name("loop1"), sha) +
        entry(Name("sparse"), value) + entry(Name("value17m"), value) +
        entry("/proc/self/pagemap", sha) + entry("/proc/version", value) +
        entry(longPath_, "<Check type=\"Value\" value=\"bG9uZw==\"/>") +
        entry(Name("new") + "&#10;line", "<Check type=\"Value\" value=\"bmV3bGluZQ==\"/>") +
        entry(Name("bad\xff\xfe"), "<Check type=\"Value\" value=\"Ynl0ZXM=\"/>") + "</Manifest>\n";
    WriteFile(dir_ / "m.xml", manifest);
    const ProcessResult result =
        RunProgram(Program::Tester, {"--without-signature", Name("m.xml")});
    const std::pair<std::string, const char*> reasons[] = {
        {Name("fifo"), "Not a regular file"},
        {Name("socket"), bound_ ? "No such device or address" : "No such file or directory"},
        {"/dev/zero", "Not a regular file"},
        {Name("directory"), "Is a directory"},
        {Name("loop1"), "Too many levels of symbolic links"},
        {Name("sparse"), "Object is too large"},
        {Name("value17m"), "Object is too large"},
        // Sizes there say nothing: pagemap reports 0 and yields hundreds of GB.
        {"/proc/self/pagemap", "File is on a pseudo file system"},
        {"/proc/version", "File is on a pseudo file system"},
    };
    for (const auto& [path, why] : reasons) {
        EXPECT_TRUE(Failed(result, CannotRead(path, why) + "\n"));
    }
    // The long path and the odd names are files like any other.
    EXPECT_NE(result.out.find("\tFiles: 9 / 0 / 3\n"), std::string::npos)
        << result.out << result.err;
}

// The single-file values, in Base64, of plain files and of odd ones.
TEST_F(HostileFileTest, SingleFileValues)
{
    WriteFile(dir_ / "abc", "abc");
    WriteFile(dir_ / "empty", "");
    const struct {
        const char* option;
        std::string path;
        int status;
        std::string text;  // the value printed, or part of the refusal
    } cases[] = {
        {"--calc-hash-sha256", Name("abc"), 0, "ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=\n"},
        {"-w", Name("empty"), 0,
         "P1OaIT6XyALMIp1HTGqjKoJaNgsqkzqUn9klII2c4bs=\n"},  // GOST 256 of nothing
        {"-z", Name("empty"), 0, "\n"},
        {"-z", longPath_, 0, "bG9uZw==\n"},
        {"-z", Name("none"), 1,
         "Can't read or access file " + Name("none") + ". Reason: No such file"},
        {"-z", Name("sparse"), 1, "Object is too large"},
        {"-y", Name("fifo"), 1, "Can't read or access file " + Name("fifo")},
        {"-x", "/dev/zero", 1, "Can't read or access file /dev/zero"},
        {"-z", Name("directory"), 1, "Can't read or access file " + Name("directory")},
        {"-z", "/proc/version", 1, "Reason: File is on a pseudo file system"},
        {"--calc-hash-sha256", "/proc/self/pagemap", 1, "Reason: File is on a pseudo file system"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.option) + " " + c.path);
        const ProcessResult result = RunProgram(Program::CheckTool, {c.option, c.path});
        if (c.status == 0) {
            EXPECT_EQ(result.out, c.text + "SUCCEEDED\n") << result.err;
        } else {
            EXPECT_TRUE(Failed(result, c.text));
        }
    }
}

// A manifest that reports size 0 and never ends is refused when opened.
TEST(PseudoFileManifestTest, ManifestsOnPseudoFileSystemsAreRefused)
{
    const std::string pagemap = "/proc/self/pagemap";
    const std::string pseudo = "(File is on a pseudo file system)";
    const struct {
        Program program;
        std::vector<std::string> arguments;
        std::string message;
    } runs[] = {
        {Program::Checker, {pagemap}, "Can't create IO from file " + pagemap},
        {Program::Tester, {"--without-signature", pagemap}, pseudo},
        {Program::CheckTool, {"-n", "-m", pagemap}, pseudo},
    };
    for (const auto& run : runs) {
        SCOPED_TRACE(run.arguments.front());
        EXPECT_TRUE(Failed(RunProgram(run.program, run.arguments), run.message));
    }
}

TEST(HugeManifestTest, ManifestsTheMachineCannotHoldAreRefusedBeforeTheyAreRead)
{
    const std::optional<std::uint64_t> available = zel::AvailableMemory();
    TempDir dir;
    const std::string huge = (dir / "huge.xml").string();
    const std::string half = (dir / "half.xml").string();
    WriteFile(huge, "");
    WriteFile(half, "");
    boost::system::error_code error;
    boost::filesystem::resize_file(huge, std::uint64_t{4} << 40, error);
    if (error || !available) {
        GTEST_SKIP() << "no sparse file of 4 TiB here, or no figure of available memory: "
                     << error.message();
    }
    // Half the memory fits as text, but not as the model it parses into.
    boost::filesystem::resize_file(half, *available / 2);
    const std::string pki = DemoPki("regular/");
    const std::string outOfMemory = "(Out of memory)";
    const struct {
        Program program;
        std::vector<std::string> arguments;
        std::string message;
    } runs[] = {
        {Program::Tester, {"--without-signature", huge}, outOfMemory},
        {Program::Checker, {huge}, outOfMemory},
        {Program::Checker,
         {"--signature-type", "vorn2", huge},
         "Failed to allocate necessary memory"},
        {Program::CheckTool, {"-n", "-m", huge}, outOfMemory},
        {Program::CheckTool, {"-n", "-m", half}, outOfMemory},
        {Program::Sign,
         {"--type", "lum", "--key", pki + "leaf.key", "--cert", pki + "leaf.pem", "--chain",
          pki + "inter.pem", huge},
         huge + " is too large"},
    };
    for (const auto& run : runs) {
        SCOPED_TRACE(run.arguments.front() + " " + run.arguments.back());
        EXPECT_TRUE(Failed(RunProgram(run.program, run.arguments), run.message));
    }
    EXPECT_EQ(boost::filesystem::file_size(huge), std::uint64_t{4} << 40);
}

}  // namespace
}  // namespace integrity_check_tool::test
