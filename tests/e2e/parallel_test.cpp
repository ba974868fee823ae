#include <sys/stat.h>

#include <cstdlib>
#include <regex>

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

#include "program.h"

namespace integrity_check_tool::test {
namespace {

/// Sets INTEGRITY_CHECK_THREADS for the programs started next; null unsets it.
void SetThreads(const char* count)
{
    count != nullptr ? ::setenv("INTEGRITY_CHECK_THREADS", count, 1)
                     : ::unsetenv("INTEGRITY_CHECK_THREADS");
}

/// An installation of a few hundred files under two hash algorithms,
/// reachable by every user so that unreadable files stay unreadable when
/// the suite runs as root.
class ParallelTest : public ::testing::Test {
protected:
    static constexpr int kFiles = 400;

    ParallelTest()
    {
        for (const char* part : {"a", "b"}) {
            for (int i = 0; i < kFiles; ++i) {
                // Mostly small files, every 50th past the stream's read block.
                const std::size_t size =
                    i % 50 == 0 ? 300000 : static_cast<std::size_t>(i * 97 % 20000);
                WriteFile(File(part, i), std::string(size, static_cast<char>('a' + i % 26)));
            }
        }
        WriteFile(Product() / "single", "single");
        const std::string head =
            "<Manifest productName=\"P\" productVersion=\"1\">"
            "<File path=\"%ProductRoot%/forbidden\"><Check type=\"NotExists\"/></File>";
        // Entries with conditions (one filtered out) come before the one
        // read ahead: generation leaves them to the serial path.
        WriteFile(Product() / "sha.config",
                  head +
                      "<File path=\"%ProductRoot%/a/d1/f1\" os=\"Linux\"><Check type=\"Sha256\"/>"
                      "</File><File path=\"%ProductRoot%/elsewhere\" arch=\"E2K32\">"
                      "<Check type=\"Sha256\"/></File>"
                      "<File path=\"%ProductRoot%/single\"><Check type=\"Sha256\"/>"
                      "<Check type=\"Gost2012\"/></File>"
                      "<Files path=\"%ProductRoot%/a\"/></Manifest>");
        WriteFile(Product() / "gost.config", head + "<Files path=\"%ProductRoot%/b\"/></Manifest>");
        boost::filesystem::create_directory(shared_ / "out");
        OpenUp();
    }

    Path Product() const { return shared_ / "product"; }
    Path File(const char* part, int i) const
    {
        return Product() / part / ("d" + std::to_string(i % 7)) / ("f" + std::to_string(i));
    }

    /// Everything readable by everyone, the output directory writable too.
    void OpenUp() const
    {
        OpenToEveryone(shared_.path());
        boost::filesystem::permissions(shared_ / "out", boost::filesystem::perms(0777));
    }

    void TearDown() override { SetThreads(nullptr); }

    /// Generates `name`.xml from `name`.config, Sha256 only for "sha".
    std::string Generate(const char* threads, const std::string& name) const
    {
        SetThreads(threads);
        std::vector<std::string> arguments{"-g", "-c", (Product() / (name + ".config")).string(),
                                           "-m", (Product() / (name + ".xml")).string()};
        if (name == "sha") {
            arguments.insert(arguments.end(), {"--check-type", "Sha256"});
        }
        EXPECT_TRUE(Succeeded(RunProgram(Program::CheckTool, arguments)));
        // The stamp is the only thing that may differ between two runs.
        static const std::regex stamp("generationDateTime=\"[^\"]*\"");
        return std::regex_replace(ReadFile(Product() / (name + ".xml")), stamp, "");
    }

    /// What a run printed, with the trace (without its time and thread
    /// columns) after the error output.
    ProcessResult Verify(const char* threads) const
    {
        SetThreads(threads);
        const Path trace = shared_ / "out" / "trace";
        boost::filesystem::remove(trace);
        const ProcessResult result = RunProgramUnprivileged(
            Program::Tester,
            {"--without-signature", "--trace", trace.string(), (Product() / "sha.xml").string(),
             (Product() / "gost.xml").string()},
            shared_.path());
        static const std::regex prefix("^[0-9:.]+ [0-9]+ ", std::regex::multiline);
        const std::string lines = std::regex_replace(ReadFile(trace), prefix, "");
        return {result.exitStatus, result.out, result.err + "trace:\n" + lines};
    }

    TempDir shared_{TempDir::Access::Everyone};
};

TEST_F(ParallelTest, ReadAheadPrintsExactlyWhatASerialRunPrints)
{
    // Generation: the same manifests from one worker and from several.
    const std::string sha = Generate("1", "sha");
    EXPECT_EQ(Generate("3", "sha"), sha);
    EXPECT_EQ(Generate(nullptr, "gost"), Generate("1", "gost"));
    EXPECT_NE(sha.find("<Check type=\"Gost2012\" value=\""), std::string::npos) << sha;
    OpenUp();

    // Changed, missing, unreadable and odd files among the good ones.
    for (const char* part : {"a", "b"}) {
        for (int i = 0; i < kFiles; ++i) {
            if (i % 37 == 7) {
                boost::filesystem::permissions(File(part, i), boost::filesystem::no_perms);
            } else if (i % 31 == 5) {
                boost::filesystem::remove(File(part, i));
            } else if (i % 29 == 3) {
                WriteFile(File(part, i), "changed");
            }
        }
        boost::filesystem::remove(File(part, 11));
        boost::filesystem::create_directory(File(part, 11));
        boost::filesystem::remove(File(part, 13));
        ASSERT_EQ(::mkfifo(File(part, 13).c_str(), 0644), 0);
    }
    WriteFile(Product() / "forbidden", "");

    const ProcessResult serial = Verify("1");
    EXPECT_TRUE(Failed(serial, "Reason: Permission denied"));
    EXPECT_GT(Lines(serial.err).size(), 60u) << serial.err;
    EXPECT_NE(serial.err.find("Reason: Is a directory"), std::string::npos) << serial.err;
    EXPECT_NE(serial.err.find("has unexpected hash"), std::string::npos);

    // Any difference shows as a diff of the two texts.
    for (const char* threads : {"2", "5", static_cast<const char*>(nullptr)}) {
        SCOPED_TRACE(threads != nullptr ? threads : "default");
        const ProcessResult parallel = Verify(threads);
        EXPECT_EQ(parallel.exitStatus, serial.exitStatus);
        EXPECT_EQ(parallel.out, serial.out);
        EXPECT_EQ(parallel.err, serial.err);
    }
}

}  // namespace
}  // namespace integrity_check_tool::test
