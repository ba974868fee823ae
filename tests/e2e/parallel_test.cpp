#include <sys/stat.h>

#include <cstdlib>
#include <regex>

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

#include "program.h"
#include "support/temp_dir.h"

namespace integrity_check_tool::test {
namespace {

/// Sets INTEGRITY_CHECK_THREADS for the programs started while it lives;
/// null leaves it unset.
class Threads {
public:
    explicit Threads(const char* count)
    {
        if (count != nullptr) {
            ::setenv("INTEGRITY_CHECK_THREADS", count, 1);
        } else {
            ::unsetenv("INTEGRITY_CHECK_THREADS");
        }
    }
    ~Threads() { ::unsetenv("INTEGRITY_CHECK_THREADS"); }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;
};

/// What one run printed, the trace without its time and thread columns.
struct Outcome {
    int exitStatus;
    std::string out;
    std::string err;
    std::string trace;
};

/// Empty when the texts are equal, else the first line where they part.
std::string FirstDifference(const std::string& expected, const std::string& actual)
{
    const std::vector<std::string> want = Lines(expected);
    const std::vector<std::string> got = Lines(actual);
    for (std::size_t i = 0; i < std::max(want.size(), got.size()); ++i) {
        const std::string a = i < want.size() ? want[i] : "<end>";
        const std::string b = i < got.size() ? got[i] : "<end>";
        if (a != b) {
            return "line " + std::to_string(i + 1) + ":\n  serial:   " + a + "\n  parallel: " + b;
        }
    }
    return expected == actual ? "" : "line ends differ";
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
                const std::size_t size = i % 50 == 0 ? 300000 : static_cast<std::size_t>(i * 97 % 20000);
                WriteFile(File(part, i), std::string(size, static_cast<char>('a' + i % 26)));
            }
        }
        WriteFile(Product() / "single", "single");
        WriteConfig("sha.config", "a", "<File path=\"%ProductRoot%/single\"><Check type=\"Sha256\"/>"
                                       "<Check type=\"Gost2012\"/></File>");
        WriteConfig("gost.config", "b", "");
        boost::filesystem::create_directory(shared_ / "out");
        OpenUp();
    }

    Path Product() const { return shared_ / "product"; }
    Path File(const char* part, int i) const
    {
        return Product() / part / ("d" + std::to_string(i % 7)) / ("f" + std::to_string(i));
    }

    void WriteConfig(const std::string& name, const std::string& part, const std::string& extra) const
    {
        WriteFile(Product() / name, "<Manifest productName=\"P\" productVersion=\"1\">"
                                    "<File path=\"%ProductRoot%/forbidden\"><Check type=\"NotExists\"/></File>" +
                                        extra + "<Files path=\"%ProductRoot%/" + part + "\"/></Manifest>");
    }

    /// Every directory enterable and every file readable by everyone,
    /// whatever the umask; the output directory writable too.
    void OpenUp() const
    {
        namespace fs = boost::filesystem;
        for (fs::recursive_directory_iterator it(shared_.path()), end; it != end; ++it) {
            fs::permissions(it->path(), fs::is_directory(it->path()) ? fs::perms(0755) : fs::perms(0644));
        }
        fs::permissions(shared_ / "out", fs::perms(0777));
    }

    std::string Generate(const char* threads, const std::string& config, const std::string& manifest,
                         const std::vector<std::string>& extra = {}) const
    {
        const Threads scope(threads);
        std::vector<std::string> arguments{"-g", "-c", (Product() / config).string(), "-m",
                                           (Product() / manifest).string()};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        const ProcessResult result = RunProgram(Program::CheckTool, arguments);
        EXPECT_EQ(result.exitStatus, 0) << result.err;
        // The stamp is the only thing that may differ between two runs.
        return std::regex_replace(ReadFile(Product() / manifest), std::regex("generationDateTime=\"[^\"]*\""), "");
    }

    Outcome Verify(const char* threads) const
    {
        const Threads scope(threads);
        const Path trace = shared_ / "out" / "trace";
        boost::filesystem::remove(trace);
        const ProcessResult result = RunProgramUnprivileged(
            Program::Tester,
            {"--without-signature", "--trace", trace.string(), (Product() / "sha.xml").string(),
             (Product() / "gost.xml").string()},
            shared_.path());
        static const std::regex prefix("^[0-9:.]+ [0-9]+ ", std::regex::multiline);
        return Outcome{result.exitStatus, result.out, result.err, std::regex_replace(ReadFile(trace), prefix, "")};
    }

    TempDir shared_{TempDir::Access::Everyone};
};

TEST_F(ParallelTest, ReadAheadPrintsExactlyWhatASerialRunPrints)
{
    // Generation: the same manifests from one worker and from several.
    const std::string sha = Generate("1", "sha.config", "sha.xml", {"--check-type", "Sha256"});
    EXPECT_EQ(Generate("3", "sha.config", "sha.xml", {"--check-type", "Sha256"}), sha);
    const std::string gost = Generate("1", "gost.config", "gost.xml");
    EXPECT_EQ(Generate(nullptr, "gost.config", "gost.xml"), gost);
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

    const Outcome serial = Verify("1");
    EXPECT_EQ(serial.exitStatus, 1);
    const std::vector<std::string> failures = Lines(serial.err);
    EXPECT_GT(failures.size(), 60u) << serial.err;
    EXPECT_NE(serial.err.find("Reason: Permission denied"), std::string::npos) << serial.err;
    EXPECT_NE(serial.err.find("Reason: Is a directory"), std::string::npos) << serial.err;
    EXPECT_NE(serial.trace.find("has unexpected hash"), std::string::npos);

    for (const char* threads : {"2", "5", static_cast<const char*>(nullptr)}) {
        const Outcome parallel = Verify(threads);
        const std::string name = threads != nullptr ? threads : "default";
        EXPECT_EQ(parallel.exitStatus, serial.exitStatus) << name;
        EXPECT_EQ(FirstDifference(serial.out, parallel.out), "") << name;
        EXPECT_EQ(FirstDifference(serial.err, parallel.err), "") << name;
        EXPECT_EQ(FirstDifference(serial.trace, parallel.trace), "") << name;
    }
}

}  // namespace
}  // namespace integrity_check_tool::test
