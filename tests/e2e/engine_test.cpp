#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

#include "program.h"
#include "support/temp_dir.h"

namespace integrity_check_tool::test {
namespace {

constexpr const char* kTesterWarning = "This utilty for internal testing only. Do not use it in production!";

std::string Summary(int manifests, const std::string& files, const std::string& directories)
{
    return "===============================================>\n"
           "Summary( failed / skipped / succeeded ):\n"
           "\tManifests: " + std::string(manifests == 1 ? "0 / 0 / 1" : "1 / 0 / 0") + "\n" +
           "\tFiles: " + files + "\n" + "\tDirectories: " + directories + "\n" +
           "\tRegistries: 0 / 0 / 0\n\tRegistry values: 0 / 0 / 0\n";
}

/// An installed product: a few directories of small files, a generation
/// configuration and, once generated, its manifest.
class EngineTest : public ::testing::Test {
public:
    static constexpr int kDirectories = 3;
    static constexpr int kFilesPerDirectory = 40;

protected:
    EngineTest()
    {
        for (int d = 0; d < kDirectories; ++d) {
            for (int f = 0; f < kFilesPerDirectory; ++f) {
                WriteFile(Product() / ("lib" + std::to_string(d)) / ("sub" + std::to_string(f % 3)) /
                              ("file" + std::to_string(f)),
                          std::string(static_cast<std::size_t>(f * 37 % 1500), static_cast<char>('a' + f % 26)));
            }
        }
        WriteFile(Product() / "bin" / "agent", "agent binary");
        std::string config = "<Manifest productName=\"Demo\" productVersion=\"1.0\">\n"
                             "  <Environment key=\"Bin\" value=\"%ProductRoot%/bin\"/>\n"
                             "  <File path=\"%Bin%/agent\"><Check type=\"Sha256\"/><Check type=\"Gost2012\"/></File>\n"
                             "  <File path=\"%ProductRoot%/forbidden\"><Check type=\"NotExists\"/></File>\n"
                             "  <File path=\"%ProductRoot%/elsewhere\" arch=\"E2K32\"><Check type=\"Exists\"/></File>\n";
        for (int d = 0; d < kDirectories; ++d) {
            config += "  <Files path=\"%ProductRoot%/lib" + std::to_string(d) + "\"/>\n";
        }
        config += "</Manifest>\n";
        WriteFile(dir_ / "config.xml", config);
    }

    Path Product() const { return dir_ / "product"; }
    Path ManifestPath() const { return Product() / "integrity_check.xml"; }
    std::string Lib(int d, int f) const
    {
        return (Product() / ("lib" + std::to_string(d)) / ("sub" + std::to_string(f % 3)) /
                ("file" + std::to_string(f)))
            .string();
    }

    ProcessResult Generate(const Path& config, const Path& manifest) const
    {
        return RunProgram(Program::CheckTool, {"-g", "-c", config.string(), "-m", manifest.string()});
    }

    ProcessResult Verify(const std::vector<std::string>& extra = {}) const
    {
        std::vector<std::string> arguments{"--without-signature", ManifestPath().string()};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        return RunProgram(Program::Tester, arguments);
    }

    void GenerateManifest() const
    {
        const ProcessResult result = Generate(dir_ / "config.xml", ManifestPath());
        ASSERT_EQ(result.exitStatus, 0) << result.err;
        ASSERT_EQ(result.err, "");
    }

    /// Verification that fails: the error lines before "FAILED".
    std::vector<std::string> FailureLines(const ProcessResult& result) const
    {
        EXPECT_EQ(result.exitStatus, 1);
        std::vector<std::string> lines = Lines(result.err);
        EXPECT_FALSE(lines.empty());
        if (!lines.empty()) {
            EXPECT_EQ(lines.back(), "FAILED");
            lines.pop_back();
        }
        return lines;
    }

    TempDir dir_;
};

constexpr int kEntries = EngineTest::kDirectories * EngineTest::kFilesPerDirectory + 2;

TEST_F(EngineTest, GenerateThenVerifyCountsEveryKind)
{
    const ProcessResult generated = Generate(dir_ / "config.xml", ManifestPath());
    EXPECT_EQ(generated.exitStatus, 0) << generated.err;
    EXPECT_EQ(generated.out, Summary(1, "0 / 1 / " + std::to_string(kEntries), "0 / 0 / 3") + "SUCCEEDED\n");
    const std::string manifest = ReadFile(ManifestPath());
    EXPECT_NE(manifest.find("generationDateTime=\""), std::string::npos);
    EXPECT_NE(manifest.find("<File path=\"%Bin%/agent\">"), std::string::npos) << "placeholders are kept";
    EXPECT_NE(manifest.find("<File path=\"sub0/file0\">"), std::string::npos) << manifest;

    const ProcessResult verified = Verify();
    EXPECT_EQ(verified.exitStatus, 0) << verified.err;
    EXPECT_EQ(verified.err, "");
    EXPECT_EQ(verified.out, std::string(kTesterWarning) + "\n\n" +
                                Summary(1, "0 / 1 / " + std::to_string(kEntries), "0 / 0 / 3") + "SUCCEEDED\n");
}

TEST_F(EngineTest, TamperingIsReportedLineByLine)
{
    GenerateManifest();
    const std::string removed = Lib(0, 4);
    const std::string changed = Lib(2, 7);
    const std::string forbidden = (Product() / "forbidden").string();
    boost::filesystem::remove(removed);
    WriteFile(changed, "changed");
    WriteFile(forbidden, "");

    const ProcessResult result = Verify();
    const std::vector<std::string> lines = FailureLines(result);
    ASSERT_EQ(lines.size(), 6u) << result.err;
    EXPECT_EQ(lines[0], "file " + forbidden +
                            " failed. Reason: Verification mismatch with 'NotExists' checker. Reason: File " +
                            forbidden + " exists");
    EXPECT_EQ(lines[1], "file " + removed + " failed. Reason: Can't read or access file " + removed +
                            ". Reason: No such file or directory");
    EXPECT_EQ(lines[2], "directory " + (Product() / "lib0").string() + " failed. Reason: Verification of directory " +
                            (Product() / "lib0").string() + " failed");
    EXPECT_EQ(lines[3].rfind("file " + changed +
                                 " failed. Reason: Verification mismatch with 'Gost2012' checker. Reason: File " +
                                 changed + " has unexpected hash ",
                             0),
              0u)
        << lines[3];
    EXPECT_EQ(lines[5], "manifest " + ManifestPath().string() + " failed. Reason: Verification of manifest " +
                            ManifestPath().string() + " failed");
    EXPECT_NE(result.out.find(Summary(0, "3 / 1 / " + std::to_string(kEntries - 3), "2 / 0 / 1")), std::string::npos)
        << result.out;
}

TEST_F(EngineTest, BrokenEntriesFailWithTheirOwnMessage)
{
    WriteFile(dir_ / "file", "content");
    boost::filesystem::create_directory(dir_ / "folder");
    WriteFile(ManifestPath(), "<Manifest>\n"
                              "  <File path=\"%Nope%/x\"><Check type=\"Exists\"/></File>\n"
                              "  <File path=\"" + (dir_ / "folder").string() +
                                  "\"><Check type=\"Sha256\" value=\"AA==\"/></File>\n"
                                  "  <File path=\"" + (dir_ / "file").string() + "\"/>\n"
                                  "</Manifest>\n");
    const std::vector<std::string> lines = FailureLines(Verify());
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "file %Nope%/x failed. Reason: Verification mismatch with 'Exists' checker. Reason: File "
                        "%Nope%/x not exists.");
    EXPECT_EQ(lines[1], "file " + (dir_ / "file").string() + " failed. Reason: There are no checks for file " +
                            (dir_ / "file").string());
    EXPECT_EQ(lines[2], "file " + (dir_ / "folder").string() + " failed. Reason: Can't read or access file " +
                            (dir_ / "folder").string() + ". Reason: Is a directory");
}

TEST_F(EngineTest, UnreadableFileFailsWithThePermissionError)
{
    // Root reads every file, so the check runs as an unprivileged user, who
    // must be able to reach the manifest wherever the tests run from.
    const TempDir shared(TempDir::Access::Everyone);
    const Path secret = shared / "secret";
    WriteFile(secret, "x");
    boost::filesystem::permissions(secret, boost::filesystem::no_perms);
    const Path manifest = shared / "integrity_check.xml";
    WriteFile(manifest, "<Manifest><File path=\"" + secret.string() +
                            "\"><Check type=\"Value\" value=\"eA==\"/></File></Manifest>");
    boost::filesystem::permissions(manifest, boost::filesystem::add_perms | boost::filesystem::others_read);
    const std::vector<std::string> lines =
        FailureLines(RunProgramUnprivileged(Program::Tester, {"--without-signature", manifest.string()},
                                            shared.path()));
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], "file " + secret.string() + " failed. Reason: Can't read or access file " +
                            secret.string() + ". Reason: Permission denied");
}

TEST_F(EngineTest, UnknownCheckTypeStopsBeforeAnythingIsChecked)
{
    WriteFile(ManifestPath(), "<Manifest><File path=\"/x\"><Check type=\"Md5\"/></File></Manifest>");
    const ProcessResult result = Verify();
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.err.find("Invalid name: Md5"), std::string::npos) << result.err;
    EXPECT_EQ(result.out.find("Summary"), std::string::npos);
}

TEST_F(EngineTest, TwoManifestsNamingOneFileCheckItOnce)
{
    WriteFile(dir_ / "one.txt", "1");
    const std::string entry = "<Manifest><File path=\"" + (dir_ / "one.txt").string() +
                              "\"><Check type=\"Value\" value=\"MQ==\"/></File></Manifest>";
    WriteFile(dir_ / "a.xml", entry);
    WriteFile(dir_ / "b.xml", entry);
    const ProcessResult result =
        RunProgram(Program::Tester, {"--without-signature", (dir_ / "a.xml").string(), (dir_ / "b.xml").string()});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_NE(result.out.find("\tFiles: 0 / 0 / 1\n"), std::string::npos) << result.out;
}

TEST_F(EngineTest, FailedGenerationWritesNothing)
{
    WriteFile(dir_ / "bad.xml", "<Manifest><File path=\"" + (dir_ / "missing").string() +
                                    "\"><Check type=\"Sha256\"/></File></Manifest>");
    WriteFile(ManifestPath(), "previous");
    const ProcessResult result = Generate(dir_ / "bad.xml", ManifestPath());
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.err.find("manifest " + ManifestPath().string() + " failed. Reason: Generation of manifest " +
                              ManifestPath().string() + " failed"),
              std::string::npos)
        << result.err;
    EXPECT_EQ(ReadFile(ManifestPath()), "previous");
    EXPECT_EQ(std::distance(boost::filesystem::directory_iterator(Product()), {}), 5) << "no temporary file is left";
}

TEST_F(EngineTest, NormalizeCollapsesDuplicatesAndIsIdempotent)
{
    const Path manifest = dir_ / "n.xml";
    WriteFile(manifest, "<Config><Manifest productName=\"P\">"
                        "<File path=\"/b\"><Check type=\"Exists\"/></File>"
                        "<File path=\"/a\"><Check type=\"Sha256\" value=\"AA==\"/></File>"
                        "<File path=\"/b\"><Check type=\"Exists\"/></File>"
                        "</Manifest></Config>");
    const ProcessResult first = RunProgram(Program::CheckTool, {"-n", "-m", manifest.string()});
    EXPECT_EQ(first.exitStatus, 0) << first.err;
    EXPECT_EQ(first.out, "SUCCEEDED\n");
    const std::string once = ReadFile(manifest);
    EXPECT_EQ(once, "<Manifest productName=\"P\">\n"
                    "    <File path=\"/a\">\n"
                    "        <Check type=\"Sha256\" value=\"AA==\" />\n"
                    "    </File>\n"
                    "    <File path=\"/b\">\n"
                    "        <Check type=\"Exists\" />\n"
                    "    </File>\n"
                    "</Manifest>\n");
    EXPECT_EQ(RunProgram(Program::CheckTool, {"-n", "-m", manifest.string()}).exitStatus, 0);
    EXPECT_EQ(ReadFile(manifest), once);
}

TEST_F(EngineTest, SingleFileValuesInBase64)
{
    WriteFile(dir_ / "abc", "abc");
    WriteFile(dir_ / "empty", "");
    const ProcessResult sha = RunProgram(Program::CheckTool, {"--calc-hash-sha256", (dir_ / "abc").string()});
    EXPECT_EQ(sha.out, "ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=\nSUCCEEDED\n");
    const ProcessResult gost = RunProgram(Program::CheckTool, {"-w", (dir_ / "empty").string()});
    EXPECT_EQ(gost.out, "P1OaIT6XyALMIp1HTGqjKoJaNgsqkzqUn9klII2c4bs=\nSUCCEEDED\n") << "empty-message GOST 256";
    const ProcessResult value = RunProgram(Program::CheckTool, {"-z", (dir_ / "empty").string()});
    EXPECT_EQ(value.out, "\nSUCCEEDED\n");
    const ProcessResult missing = RunProgram(Program::CheckTool, {"-z", (dir_ / "none").string()});
    EXPECT_EQ(missing.exitStatus, 1);
    EXPECT_NE(missing.err.find("Can't read or access file " + (dir_ / "none").string() +
                               ". Reason: No such file or directory"),
              std::string::npos);
}

}  // namespace
}  // namespace integrity_check_tool::test
