#include <regex>

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

#include "program.h"

namespace integrity_check_tool::test {
namespace {

std::string Summary(const std::string& manifests, const std::string& files,
                    const std::string& directories, const std::string& registries = "0 / 0 / 0",
                    const std::string& values = "0 / 0 / 0")
{
    return "===============================================>\nSummary( failed / skipped / "
           "succeeded ):\n"
           "\tManifests: " +
           manifests + "\n\tFiles: " + files + "\n\tDirectories: " + directories +
           "\n\tRegistries: " + registries + "\n\tRegistry values: " + values + "\n";
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
            "  <Environment key=\"Bin\" value=\"C:\\bin\" os=\"Windows\"/>\n"
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

// Values already given are kept and their files never opened, entries that
// do not apply are kept as they are, a directory gains the files it lacks.
TEST_F(EngineTest, GenerationFillsOnlyMissingValues)
{
    WriteFile(dir_ / "a", "abc");
    WriteFile(dir_ / "c", "see");
    WriteFile(dir_ / "lib/x", "x");
    WriteFile(dir_ / "lib/f1", "1");
    WriteFile(dir_ / "in.xml",
              "<Manifest><File path=\"%ProductRoot%/a\"/>"
              "<File path=\"%ProductRoot%/an\" arch=\"E2K64\"/>"
              "<File path=\"%ProductRoot%/b\"><Check type=\"Sha256\" value=\"a2VwdA==\"/></File>"
              "<File path=\"%ProductRoot%/c\"><Check type=\"Exists\"/><Check type=\"Value\"/>"
              "</File><Files path=\"%ProductRoot%/lib\"><File path=\"x\">"
              "<Check type=\"Value\" value=\"b2xk\"/></File></Files></Manifest>");
    const Path out = dir_ / "out.xml";
    EXPECT_TRUE(
        Succeeded(RunProgram(Program::CheckTool, {"-g", "-c", (dir_ / "in.xml").string(), "-m",
                                                  out.string(), "--check-type", "Sha256"}),
                  Summary("0 / 0 / 1", "0 / 1 / 5", "0 / 0 / 1")));
    const std::string check = "\n        <Check type=";
    EXPECT_EQ(std::regex_replace(ReadFile(out), std::regex(" generationDateTime=\"[^\"]+\""), ""),
              "<Manifest>\n"
              "    <File path=\"%ProductRoot%/a\">" +
                  check +
                  "\"Sha256\" value=\"ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=\" />\n    "
                  "</File>\n"
                  "    <File arch=\"E2K64\" path=\"%ProductRoot%/an\" />\n"
                  "    <File path=\"%ProductRoot%/b\">" +
                  check + "\"Sha256\" value=\"a2VwdA==\" />\n    </File>\n" +
                  "    <File path=\"%ProductRoot%/c\">" + check + "\"Exists\" />" + check +
                  "\"Value\" value=\"c2Vl\" />\n    </File>\n"
                  "    <Files path=\"%ProductRoot%/lib\">\n"
                  "        <File path=\"f1\">\n            <Check type=\"Sha256\" "
                  "value=\"a4ayc/80/OGda4BO/1o/V0etpOqiLx1JwB5S3beHW0s=\" />\n        </File>\n"
                  "        <File path=\"x\">\n            <Check type=\"Value\" value=\"b2xk\" "
                  "/>\n        </File>\n    </Files>\n</Manifest>\n");
}

// One failing entry fails the manifest and nothing is written; the other
// entries are still processed.
TEST_F(EngineTest, FailedGenerationWritesNothing)
{
    WriteFile(Product() / "a", "");
    const std::string root = Product().string();
    const struct {
        std::string entry;
        std::string report;
        std::string files;
    } cases[] = {
        {"<File path=\"%ProductRoot%/gone\"/>",
         "file %ProductRoot%/gone failed. Reason: Can't read or access file " + root +
             "/gone. Reason: No such file or directory\n",
         "1 / 0 / 1"},
        {"<Files path=\"%ProductRoot%/nodir\"/>",
         "directory %ProductRoot%/nodir failed. Reason: Can't read or access file " + root +
             "/nodir. Reason: No such file or directory\n",
         "0 / 0 / 1"},
        {"<Registry path=\"HKLM\\Soft\"><Value name=\"Ver\" type=\"REG_SZ\"/></Registry>",
         "registry value Ver failed. Reason: Registry not supported on this platform\n"
         "registry path HKLM\\Soft failed. Reason: Generation of registry path HKLM\\Soft "
         "failed\n",
         "0 / 0 / 1"},
    };
    const std::string manifest = ManifestPath().string();
    for (const auto& [entry, report, files] : cases) {
        WriteFile(dir_ / "bad.xml",
                  "<Manifest><File path=\"%ProductRoot%/a\"/>" + entry + "</Manifest>");
        WriteFile(ManifestPath(), "previous");
        const ProcessResult result = Generate(dir_ / "bad.xml");
        EXPECT_TRUE(Failed(result));
        EXPECT_EQ(result.err, report + "manifest " + manifest +
                                  " failed. Reason: Generation of manifest " + manifest +
                                  " failed\nFAILED\n");
        EXPECT_NE(result.out.find("\tFiles: " + files + "\n"), std::string::npos) << entry;
        EXPECT_EQ(ReadFile(ManifestPath()), "previous");
    }
}

// A verbose run shows what passes or is filtered; failures go to the error
// output, each alternative's in turn, and leave the entries after them
// checked. A filtered directory counts once, not by its files.
TEST_F(EngineTest, VerboseRunReportsEveryEntry)
{
    const std::string root = dir_.path().string();
    WriteFile(dir_ / "value", "A");
    WriteFile(dir_ / "present", "");
    WriteFile(dir_ / "lib/y", "");
    const std::string exists = "<Check type=\"Exists\"/>";
    WriteFile(dir_ / "m.xml",
              "<Manifest><File path=\"%ProductRoot%/value\"><Check type=\"Value\" value=\"Qg==\"/>"
              "<Check type=\"Sha256\" value=\"AAAA\"/></File><File path=\"%ProductRoot%/gone\">" +
                  exists + "</File><File path=\"%ProductRoot%/present\">" + exists +
                  "</File><File path=\"/other\" arch=\"ARM32\">" + exists +
                  "</File><Files path=\"%ProductRoot%/lib\"><File path=\"x\" arch=\"ARM32\"/>"
                  "<File path=\"y\">" +
                  exists +
                  "</File></Files><Files path=\"/dir\" arch=\"E2K64\"><File path=\"x\"/></Files>"
                  "<Registry path=\"HKLM\\Soft\"><Value name=\"Ver\" type=\"REG_SZ\">" +
                  exists +
                  "</Value></Registry><Registry path=\"HKLM\\Other\" os=\"Windows\">"
                  "<Value name=\"Ver\" type=\"REG_SZ\"/></Registry></Manifest>");
    const ProcessResult result = RunProgram(
        Program::Tester, {"--without-signature", "--verbose", (dir_ / "m.xml").string()});
    const std::string failures =
        "file " + root + "/gone failed. Reason: Verification mismatch with 'Exists' checker. " +
        "Reason: File " + root + "/gone not exists.\n" + "file " + root +
        "/value failed. Reason: All checks failed:\n\tChecker [1]: Verification mismatch with "
        "'Sha256' checker. Reason: File " +
        root +
        "/value has unexpected hash VZrq0IJk1XldOQlxjN0Fq9SVcuhP5VWQ7vMaiKCP3/0= != expected "
        "AAAA\n\tChecker [2]: Verification mismatch with 'Value' checker. Reason: File " +
        root + "/value has unexpected value\n" +
        "registry value Ver failed. Reason: Registry not supported on this platform\n"
        "registry path HKLM\\Soft failed. Reason: Verification of registry path HKLM\\Soft "
        "failed\nmanifest " +
        root + "/m.xml failed. Reason: Verification of manifest " + root + "/m.xml failed\n";
    EXPECT_EQ(result.err, failures + "FAILED\n");
    // The failures are repeated in the output as trace records.
    std::string out = std::regex_replace(
        result.out, std::regex("^([0-9:.]+ [0-9]+ 300 |\tChecker ).*\n", std::regex::multiline),
        "");
    EXPECT_EQ(out, "This utilty for internal testing only. Do not use it in production!\n\n"
                   "file /other filtered\ndirectory /dir filtered\n"
                   "registry path HKLM\\Other filtered\nfile " +
                       root + "/lib/x filtered\nfile " + root + "/present succeeded\nfile " + root +
                       "/lib/y succeeded\ndirectory " + root + "/lib succeeded\n" +
                       Summary("1 / 0 / 0", "2 / 2 / 2", "0 / 1 / 1", "1 / 1 / 0", "1 / 0 / 0"));
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
