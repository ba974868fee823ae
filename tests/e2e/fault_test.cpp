// Writers that fail part-way (a full file system, a file-size limit, a
// read-only directory, a signal) must leave the file they replace as it was,
// say why, exit with 1 and leave no temporary file behind.

#include <sys/mount.h>
#include <unistd.h>

#include <fstream>

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

#include "program.h"

namespace integrity_check_tool::test {
namespace {

class FaultTest : public ::testing::Test {
protected:
    FaultTest()
    {
        for (int i = 0; i < 400; ++i) {
            WriteFile(shared_ / "product" / ("lib" + std::to_string(i % 9)) /
                          ("file" + std::to_string(i)),
                      std::string(static_cast<std::size_t>(i * 13 % 700), 'x'));
        }
        WriteFile(shared_ / "config.xml",
                  "<Manifest><Files path=\"" + (shared_ / "product").string() + "\"/></Manifest>");
        original_ = "<Manifest productName=\"Old\" productVersion=\"1.0\">\n    <File path=\"" +
                    (shared_ / "config.xml").string() +
                    "\">\n        <Check type=\"Exists\" />\n"
                    "    </File>\n</Manifest>\n";
        // The checkout may be private; unprivileged writers sign with copies.
        for (const char* name : {"leaf.key", "leaf.pem", "inter.pem", "gost512.key"}) {
            WriteFile(shared_ / "keys" / name, ReadFile(DemoPki(std::string("regular/") + name)));
        }
        OpenToEveryone(shared_.path());
    }

    /// Every way of rewriting `manifest`: generate, normalize, and signing of
    /// both kinds (each one tried on the original content).
    std::vector<std::pair<Program, std::vector<std::string>>> Writers(const Path& manifest) const
    {
        const std::string target = manifest.string();
        const auto key = [this](const char* name) { return (shared_ / "keys" / name).string(); };
        return {{Program::CheckTool, {"-g", "-c", (shared_ / "config.xml").string(), "-m", target}},
                {Program::CheckTool, {"-n", "-m", target}},
                {Program::Sign,
                 {"--type", "lum", "--key", key("leaf.key"), "--cert", key("leaf.pem"), "--chain",
                  key("inter.pem"), target}},
                {Program::Sign, {"--type", "vorn2", "--key", key("gost512.key"), target}}};
    }

    /// Runs each writer on a fresh copy of the original and checks what it left.
    void ExpectEveryWriterFails(const Path& manifest, const std::string& reason,
                                const std::vector<std::string>& launcher = {},
                                bool unprivileged = false) const
    {
        for (const auto& [program, arguments] : Writers(manifest)) {
            SCOPED_TRACE(arguments[0] + " " + arguments[1]);
            WriteFile(manifest, original_);
            EXPECT_TRUE(Failed(unprivileged
                                   ? RunProgramUnprivileged(program, arguments, shared_.path())
                                   : RunProgram(program, arguments, {}, launcher),
                               reason));
            EXPECT_EQ(ReadFile(manifest), original_);
            EXPECT_EQ(Leftovers(manifest.parent_path()), "");
        }
    }

    /// Names of temporary files in `directory`, which are then removed.
    static std::string Leftovers(const Path& directory)
    {
        std::string names;
        for (const auto& entry : boost::filesystem::directory_iterator(directory)) {
            if (entry.path().filename().string().find(".tmp") != std::string::npos) {
                names += entry.path().filename().string() + " ";
                boost::filesystem::remove(entry.path());
            }
        }
        return names;
    }

    TempDir shared_{TempDir::Access::Everyone};
    std::string original_;
};

TEST_F(FaultTest, FullFileSystemKeepsTheOriginal)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "mounting a small file system needs root";
    }
    const Path mount = shared_ / "small";
    boost::filesystem::create_directory(mount);
    ASSERT_EQ(::mount("none", mount.c_str(), "tmpfs", 0, "size=64k,mode=0755"), 0)
        << std::strerror(errno);
    WriteFile(mount / "integrity_check.xml", original_);
    {
        // Whatever the original leaves free is taken, bar nothing.
        std::ofstream filler((mount / "filler").string(), std::ios::binary);
        const std::string block(1024, 'f');
        while (filler.write(block.data(), static_cast<std::streamsize>(block.size()))) {
        }
    }
    ExpectEveryWriterFails(mount / "integrity_check.xml", "No space left on device");
    ::umount2(mount.c_str(), MNT_DETACH);
}

TEST_F(FaultTest, FileSizeLimitKeepsTheOriginal)
{
    if (!EmulatorCommand().empty()) {
        // The emulator keeps the signal's default action on the host.
        GTEST_SKIP() << "a file-size limit ends the emulator itself";
    }
    // Past the limit a write fails with EFBIG; the signal it also raises must
    // not end the writer before it has cleaned up.
    ExpectEveryWriterFails(shared_ / "integrity_check.xml", "File too large",
                           {"prlimit", "--fsize=150"});
}

TEST_F(FaultTest, ReadOnlyDirectoryKeepsTheOriginal)
{
    const Path locked = shared_ / "locked";
    boost::filesystem::create_directory(locked);
    WriteFile(locked / "integrity_check.xml", original_);
    boost::filesystem::permissions(locked / "integrity_check.xml", boost::filesystem::perms(0644));
    boost::filesystem::permissions(locked, boost::filesystem::perms(0555));
    // Root writes anywhere, so the writers run as an unprivileged user.
    ExpectEveryWriterFails(locked / "integrity_check.xml", "Permission denied", {}, true);
    boost::filesystem::permissions(locked, boost::filesystem::perms(0755));
}

TEST_F(FaultTest, SignalMidWriteLeavesTheOldOrTheNewFile)
{
    const Path manifest = shared_ / "integrity_check.xml";
    WriteFile(manifest, original_);
    const auto generate = [&](const std::vector<std::string>& launcher) {
        return RunProgram(Program::CheckTool, Writers(manifest).front().second, {}, launcher);
    };
    ASSERT_TRUE(Succeeded(generate({})));
    const std::string complete = ReadFile(manifest);
    const auto sameBody = [](const std::string& a, const std::string& b) {
        // Two generations differ in their time stamp only.
        const auto body = [](const std::string& text) { return text.substr(text.find("<File")); };
        return a.find("<File") != std::string::npos && b.find("<File") != std::string::npos &&
               body(a) == body(b);
    };
    // Stopped at different moments, by a termination request (which the
    // writer cleans up after) and by a kill (which it cannot see).
    for (const char* signal : {"TERM", "KILL"}) {
        for (const char* delay : {"0.01", "0.03", "0.06", "0.1", "0.2"}) {
            WriteFile(manifest, original_);
            generate({"timeout", "-s", signal, delay});
            const std::string left = ReadFile(manifest);
            EXPECT_TRUE(left == original_ || sameBody(left, complete))
                << signal << " after " << delay << "s";
            // A kill leaves its temporary file behind, a termination request does not.
            const std::string leftovers = Leftovers(shared_.path());
            EXPECT_TRUE(std::string(signal) == "KILL" || leftovers.empty())
                << delay << ": " << leftovers;
        }
    }
}

}  // namespace
}  // namespace integrity_check_tool::test
