#include <regex>

#include <gtest/gtest.h>

#include "program.h"

namespace integrity_check_tool::test {
namespace {

constexpr const char* kWarning =
    "This utilty for internal testing only. Do not use it in production!\n\n";
const std::string kVersion = "Version " ICT_VERSION_TEXT "\nSUCCEEDED\n";

TEST(ShellTest, VersionAndHelpOfEachFlavour)
{
    const ProcessResult checker = RunProgram(Program::Checker, {"--version"});
    EXPECT_TRUE(Succeeded(checker));
    EXPECT_EQ(checker.out, kVersion);
    EXPECT_EQ(RunProgram(Program::Tester, {"--version"}).out, kWarning + kVersion);

    const std::string checkerUsage =
        "Use to check if the manifest file is in the same folder: integrity_checker "
        "[options]\nOtherwise: integrity_checker [options] manifest...\n";
    const struct {
        Program program;
        std::vector<std::string> arguments;
        std::string beginning;
        std::vector<std::string> parts;
    } helps[] = {
        {Program::CheckTool,
         {"--help", "-g", "-v"},
         "integrity_check_tool [options]\nSchema version: 2\n\ngeneral options:\n",
         {"\nactions:\n", "\nverify:\n", "\ngenerate:\n", "\nlogging:\n"}},
        {Program::Checker, {"--help"}, checkerUsage + "Schema version: 2\n\nOptions:\n", {}},
        {Program::Tester,
         {"--help"},
         kWarning + std::string("Use to check"),
         {"--without-signature"}},
    };
    for (const auto& help : helps) {
        const ProcessResult result = RunProgram(help.program, help.arguments);
        EXPECT_TRUE(Succeeded(result));
        EXPECT_TRUE(result.out.starts_with(help.beginning)) << result.out;
        EXPECT_EQ(result.out.find("SUCCEEDED"), std::string::npos);
        for (const std::string& part : help.parts) {
            EXPECT_NE(result.out.find(part), std::string::npos) << part;
        }
    }
}

// Usage errors print the reason, the usage where it helps, and FAILED.
TEST(ShellTest, UsageErrorsDescribeThenFail)
{
    TempDir dir;
    const struct {
        Program program;
        std::vector<std::string> arguments;
        std::string message;
    } cases[] = {
        {Program::Checker,
         {"--bogus"},
         "unrecognised option '--bogus'\n\nUse to check if the manifest file"},
        {Program::CheckTool, {"-g", "-v"}, "Too many actions specified"},
        {Program::CheckTool, {"--log-level", "1001"}, "Wrong trace level"},
        {Program::CheckTool, {"-g", "-m", "out.xml"}, "Config path not specified"},
        {Program::Checker,
         {"--version", "--trace", dir.path().string()},
         "Trace path " + dir.path().string() + " is not a file"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        const ProcessResult result = RunProgram(c.program, c.arguments);
        EXPECT_TRUE(Failed(result, c.message));
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(result.err.ends_with("\nFAILED\n")) << result.err;
    }
}

TEST(ShellTest, TraceFileRecordsVersionSchemaAndConfiguration)
{
    TempDir dir;
    const std::string trace = (dir / "trace.log").string();
    EXPECT_EQ(RunProgram(Program::Checker, {"--version", "--trace", trace}).out, kVersion);
    const std::string text = ReadFile(trace);
    const std::string prefix = R"(\d\d:\d\d:\d\d\.\d{3} \d+ )";
    const std::string version =
        std::regex_replace(ICT_VERSION_TEXT, std::regex(R"([.^$|()\[\]{}*+?\\])"), R"(\$&)");
    const std::regex expected(prefix + "700 Version " + version + "\n" + prefix +
                              "700 Schema version: 2\n" + prefix +
                              "800 Application configuration: \\{\n"
                              "    \"displayVersion\": \"DisplayVersion\",\n"
                              "    \"logFile\": \"[^\"]+\",\n"
                              "    \"logLevel\": \"800\"\n"
                              "\\}\n\n" +
                              prefix + "700 GOST library version: <crypto_pro:ver:1\\.0\\.1>\n");
    EXPECT_TRUE(std::regex_match(text, expected)) << text;
}

}  // namespace
}  // namespace integrity_check_tool::test
