#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

#include "program.h"

namespace integrity_check_tool::test {
namespace {

std::string Summary(const std::string& manifests, const std::string& files,
                    const std::string& directories)
{
    return "===============================================>\nSummary( failed / skipped / "
           "succeeded ):\n"
           "\tManifests: " +
           manifests + "\n\tFiles: " + files + "\n\tDirectories: " + directories +
           "\n\tRegistries: 0 / 0 / 0\n\tRegistry values: 0 / 0 / 0\n";
}

/// An installed product: a few directories of small files, a generation
/// configuration and, once generated, its manifest.
class EngineTest : public ::testing::Test {
protected:
    static constexpr int kDirectories = 3;
    static constexpr int kFilesPerDirectory = 40;
    static constexpr int kEntries = kDirectories * kFilesPerDirectory + 2;

    EngineTest()
    {
        std::string config =
            "<Manifest productName=\"Demo\" productVersion=\"1.0\">\n"
            "  <Environment key=\"Bin\" value=\"%ProductRoot%/bin\"/>\n"
            "  <File path=\"%Bin%/agent\"><Check type=\"Sha256\"/>"
            "<Check type=\"Gost2012\"/></File>\n"
            "  <File path=\"%ProductRoot%/forbidden\"><Check type=\"NotExists\"/></File>\n"
            "  <File path=\"%ProductRoot%/elsewhere\" arch=\"E2K32\">"
            "<Check type=\"Exists\"/></File>\n";
        for (int d = 0; d < kDirectories; ++d) {
            for (int f = 0; f < kFilesPerDirectory; ++f) {
                WriteFile(Lib(d, f), std::string(static_cast<std::size_t>(f * 37 % 1500),
                                                 static_cast<char>('a' + f % 26)));
            }
            config += "  <Files path=\"%ProductRoot%/lib" + std::to_string(d) + "\"/>\n";
        }
        WriteFile(Product() / "bin" / "agent", "agent binary");
        WriteFile(dir_ / "config.xml", config + "</Manifest>\n");
    }

    Path Product() const { return dir_ / "product"; }
    Path ManifestPath() const { return Product() / "integrity_check.xml"; }
    std::string Lib(int d, int f) const
    {
        const std::string name =
            "lib" + std::to_string(d) + "/sub" + std::to_string(f % 3) + "/file";
        return (Product() / (name + std::to_string(f))).string();
    }

    ProcessResult Generate(const Path& config) const
    {
        return RunProgram(Program::CheckTool,
                          {"-g", "-c", config.string(), "-m", ManifestPath().string()});
    }

    /// Verifies the manifest, first writing `text` to it unless empty.
    ProcessResult Verify(const std::string& text = {}) const
    {
        if (!text.empty()) {
            WriteFile(ManifestPath(), text);
        }
        return RunProgram(Program::Tester, {"--without-signature", ManifestPath().string()});
    }

    TempDir dir_;
};

TEST_F(EngineTest, GenerateThenVerifyCountsEveryKind)
{
    const std::string summary =
        Summary("0 / 0 / 1", "0 / 1 / " + std::to_string(kEntries), "0 / 0 / 3");
    const ProcessResult generated = Generate(dir_ / "config.xml");
    EXPECT_EQ(generated.out, summary + "SUCCEEDED\n") << generated.err;
    const std::string manifest = ReadFile(ManifestPath());
    EXPECT_NE(manifest.find("<File path=\"%Bin%/agent\">"), std::string::npos)
        << "placeholders are kept";
    EXPECT_NE(manifest.find("<File path=\"sub0/file0\">"), std::string::npos) << manifest;

    // A second manifest naming the same files changes nothing: each is checked once.
    const Path copy = Product() / "copy.xml";
    boost::filesystem::copy_file(ManifestPath(), copy);
    const ProcessResult verified = RunProgram(
        Program::Tester, {"--without-signature", ManifestPath().string(), copy.string()});
    EXPECT_EQ(verified.err, "");
    EXPECT_EQ(verified.out,
              "This utilty for internal testing only. Do not use it in production!\n\n" + summary +
                  "SUCCEEDED\n");
}

TEST_F(EngineTest, TamperingIsReportedLineByLine)
{
    ASSERT_TRUE(Succeeded(Generate(dir_ / "config.xml")));
    const std::string removed = Lib(0, 4);
    const std::string changed = Lib(2, 7);
    const std::string forbidden = (Product() / "forbidden").string();
    const std::string lib0 = (Product() / "lib0").string();
    boost::filesystem::remove(removed);
    WriteFile(changed, "changed");
    WriteFile(forbidden, "");

    const ProcessResult result = Verify();
    EXPECT_TRUE(Failed(result));
    const std::vector<std::string> lines = Lines(result.err);
    ASSERT_EQ(lines.size(), 7u) << result.err;
    EXPECT_EQ(lines[6], "FAILED");
    EXPECT_EQ(lines[0], "file " + forbidden +
                            " failed. Reason: Verification mismatch with 'NotExists' checker. "
                            "Reason: File " +
                            forbidden + " exists");
    EXPECT_EQ(lines[1], CannotRead(removed, "No such file or directory"));
    EXPECT_EQ(lines[2], "directory " + lib0 + " failed. Reason: Verification of directory " + lib0 +
                            " failed");
    EXPECT_TRUE(lines[3].starts_with("file " + changed +
                                     " failed. Reason: Verification mismatch with 'Gost2012' "
                                     "checker. Reason: File " +
                                     changed + " has unexpected hash "))
        << lines[3];
    EXPECT_EQ(lines[5], "manifest " + ManifestPath().string() +
                            " failed. Reason: Verification of manifest " + ManifestPath().string() +
                            " failed");
    EXPECT_NE(result.out.find(
                  Summary("1 / 0 / 0", "3 / 1 / " + std::to_string(kEntries - 3), "2 / 0 / 1")),
              std::string::npos)
        << result.out;
}

TEST_F(EngineTest, BrokenEntriesFailWithTheirOwnMessage)
{
    const std::string file = (dir_ / "file").string();
    WriteFile(file, "content");
    const ProcessResult result =
        Verify("<Manifest><File path=\"%Nope%/x\"><Check type=\"Exists\"/></File><File path=\"" +
               file + "\"/></Manifest>");
    EXPECT_TRUE(Failed(result));
    const std::vector<std::string> lines = Lines(result.err);
    ASSERT_EQ(lines.size(), 4u) << result.err;
    EXPECT_EQ(
        lines[0],
        "file %Nope%/x failed. Reason: Verification mismatch with 'Exists' checker. Reason: File "
        "%Nope%/x not exists.");
    EXPECT_EQ(lines[1], "file " + file + " failed. Reason: There are no checks for file " + file);

    // An unknown check type stops the run before anything is checked.
    const ProcessResult unknown =
        Verify("<Manifest><File path=\"/x\"><Check type=\"Md5\"/></File></Manifest>");
    EXPECT_TRUE(Failed(unknown, "Invalid name: Md5"));
    EXPECT_EQ(unknown.out.find("Summary"), std::string::npos);
}

TEST_F(EngineTest, FailedGenerationWritesNothing)
{
    WriteFile(dir_ / "bad.xml", "<Manifest><File path=\"" + (dir_ / "missing").string() +
                                    "\"><Check type=\"Sha256\"/></File></Manifest>");
    WriteFile(ManifestPath(), "previous");
    EXPECT_TRUE(Failed(Generate(dir_ / "bad.xml"), "manifest " + ManifestPath().string() +
                                                       " failed. Reason: Generation of manifest " +
                                                       ManifestPath().string() + " failed"));
    EXPECT_EQ(ReadFile(ManifestPath()), "previous");
}

TEST_F(EngineTest, NormalizeCollapsesDuplicatesAndIsIdempotent)
{
    const Path manifest = dir_ / "n.xml";
    WriteFile(manifest, "<Config><Manifest productName=\"P\">"
                        "<File path=\"/b\"><Check type=\"Exists\"/></File>"
                        "<File path=\"/a\"><Check type=\"Sha256\" value=\"AA==\"/></File>"
                        "<File path=\"/b\"><Check type=\"Exists\"/></File>"
                        "</Manifest></Config>");
    const std::string normal =
        "<Manifest productName=\"P\">\n"
        "    <File path=\"/a\">\n        <Check type=\"Sha256\" value=\"AA==\" />\n    </File>\n"
        "    <File path=\"/b\">\n        <Check type=\"Exists\" />\n    </File>\n"
        "</Manifest>\n";
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(RunProgram(Program::CheckTool, {"-n", "-m", manifest.string()}).out,
                  "SUCCEEDED\n");
        EXPECT_EQ(ReadFile(manifest), normal) << "run " << run;
    }
}

}  // namespace
}  // namespace integrity_check_tool::test
