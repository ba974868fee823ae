#include <regex>

#include <gtest/gtest.h>

#include "program.h"
#include "support/temp_dir.h"

namespace integrity_check_tool::test {
namespace {

constexpr const char* kWarning = "This utilty for internal testing only. Do not use it in production!\n\n";

bool StartsWith(const std::string& text, const std::string& prefix) { return text.rfind(prefix, 0) == 0; }

bool EndsWith(const std::string& text, const std::string& suffix)
{
    return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

TEST(ShellTest, VersionPrintsTwoLines)
{
    const ProcessResult result = RunProgram(Program::Checker, {"--version"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, "Version 30.732.0.490-69af0b0bdf\nSUCCEEDED\n");
    EXPECT_EQ(result.err, "");
}

TEST(ShellTest, HelpOfEachFlavour)
{
    const ProcessResult full = RunProgram(Program::CheckTool, {"--help", "-g", "-v"});
    EXPECT_EQ(full.exitStatus, 0);
    EXPECT_TRUE(StartsWith(full.out, "integrity_check_tool [options]\nSchema version: 2\n\ngeneral options:\n"))
        << full.out;
    for (const char* group : {"\nactions:\n", "\nverify:\n", "\ngenerate:\n", "\nlogging:\n"}) {
        EXPECT_NE(full.out.find(group), std::string::npos) << group;
    }
    EXPECT_EQ(full.out.find("SUCCEEDED"), std::string::npos);

    const ProcessResult checker = RunProgram(Program::Checker, {"--help"});
    EXPECT_EQ(checker.exitStatus, 0);
    EXPECT_TRUE(StartsWith(checker.out,
                           "Use to check if the manifest file is in the same folder: integrity_checker [options]\n"
                           "Otherwise: integrity_checker [options] manifest...\n"
                           "Schema version: 2\n\nOptions:\n"))
        << checker.out;

    const ProcessResult tester = RunProgram(Program::Tester, {"--help"});
    EXPECT_EQ(tester.exitStatus, 0);
    EXPECT_TRUE(StartsWith(tester.out, std::string(kWarning) + "Use to check")) << tester.out;
    EXPECT_NE(tester.out.find("--without-signature"), std::string::npos);
}

TEST(ShellTest, UsageErrorsDescribeThenFail)
{
    const ProcessResult unknown = RunProgram(Program::Checker, {"--bogus"});
    EXPECT_EQ(unknown.exitStatus, 1);
    EXPECT_EQ(unknown.out, "");
    EXPECT_NE(unknown.err.find("unrecognised option '--bogus'\n\nUse to check if the manifest file"),
              std::string::npos)
        << unknown.err;
    EXPECT_TRUE(EndsWith(unknown.err, "\nFAILED\n")) << unknown.err;

    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"-g", "-v"}, "Too many actions specified"},
        {{"--log-level", "1001"}, "Wrong trace level"},
        {{"-g", "-m", "out.xml"}, "Config path not specified"},
    };
    for (const auto& [arguments, message] : cases) {
        const ProcessResult result = RunProgram(Program::CheckTool, arguments);
        EXPECT_EQ(result.exitStatus, 1) << message;
        EXPECT_NE(result.err.find(message), std::string::npos) << result.err;
        EXPECT_NE(result.err.find("Throw in function"), std::string::npos) << result.err;
        EXPECT_TRUE(EndsWith(result.err, "\nFAILED\n")) << result.err;
    }
}

TEST(ShellTest, TesterStartsWithItsWarning)
{
    const ProcessResult result = RunProgram(Program::Tester, {"--version"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, std::string(kWarning) + "Version 30.732.0.490-69af0b0bdf\nSUCCEEDED\n");
}

TEST(ShellTest, TraceFileRecordsVersionSchemaAndConfiguration)
{
    TempDir dir;
    const std::string trace = (dir / "trace.log").string();
    const ProcessResult result = RunProgram(Program::Checker, {"--version", "--trace", trace});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, "Version 30.732.0.490-69af0b0bdf\nSUCCEEDED\n");
    const std::string text = ReadFile(trace);
    const std::string prefix = R"(\d\d:\d\d:\d\d\.\d{3} \d+ )";
    const std::regex expected(prefix + "700 Version 30\\.732\\.0\\.490-69af0b0bdf\n" + prefix +
                              "700 Schema version: 2\n" + prefix +
                              "800 Application configuration: \\{\n"
                              "    \"displayVersion\": \"DisplayVersion\",\n"
                              "    \"logFile\": \"[^\"]+\",\n"
                              "    \"logLevel\": \"800\"\n"
                              "\\}\n\n" +
                              prefix + "700 GOST library version: <crypto_pro:ver:1\\.0\\.1>\n");
    EXPECT_TRUE(std::regex_match(text, expected)) << text;
}

TEST(ShellTest, TraceToDirectoryFails)
{
    TempDir dir;
    const ProcessResult result = RunProgram(Program::Checker, {"--version", "--trace", dir.path().string()});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("Trace path " + dir.path().string() + " is not a file"), std::string::npos)
        << result.err;
    EXPECT_TRUE(EndsWith(result.err, "\nFAILED\n"));
}

}  // namespace
}  // namespace integrity_check_tool::test
