#include <gtest/gtest.h>

#include "arguments/checker.h"
#include "arguments/full.h"
#include "support/manifest_builder.h"
#include "support/temp_dir.h"

namespace integrity_check_tool::test {
namespace {

template <class Flavour> std::shared_ptr<Flavour> Parsed(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "program");
    auto parsed = std::make_shared<Flavour>();
    parsed->Parse(arguments);
    return parsed;
}

template <class Flavour> ConfigPtr ConfigOf(std::vector<std::string> arguments)
{
    return Parsed<Flavour>(std::move(arguments))->CreateConfig();
}

class ArgumentsTest : public ::testing::Test {
protected:
    ArgumentsTest() { WriteFile(file_, ""); }

    TempDir dir_;
    const std::string directory_ = dir_.path().string();
    const std::string file_ = (dir_ / "m.xml").string();
};

TEST_F(ArgumentsTest, RefusalsSayWhatIsWrong)
{
    const std::pair<std::function<void()>, std::string> cases[] = {
        // The single-file options count as one action among themselves.
        {[] {
             Parsed<FullArguments>({"-n", "-w", "f", "-x", "g"});
         },
         "Too many actions specified"},
        {[] {
             Parsed<FullArguments>({"--check-type", "NotExists"});
         },
         "Wrong check type: NotExists"},
        {[] {
             Parsed<FullArguments>({"--arch", "x64"});
         },
         "the argument ('x64') for option '--arch' is invalid\n\n"
         "integrity_check_tool [options]\nSchema version: 2\n"},
        {[] { Parsed<CheckerArguments>({"--without-signature"}); },
         "unrecognised option '--without-signature'\n\nUse to check"},
        {[&] { ConfigOf<CheckerArguments>({directory_}); },
         "Manifest path " + directory_ + " resolved to non-regular file"},
    };
    for (const auto& [call, message] : cases) {
        const std::string failure = Refusal(call);
        EXPECT_EQ(failure.substr(0, message.size()), message) << failure;
    }
    EXPECT_NO_THROW(Parsed<FullArguments>({"-w", "f", "-y", "g"}));
    EXPECT_TRUE(Parsed<FullArguments>({"-g", "-v", "-h"})->IsHelpRequested())
        << "help skips validation";
}

TEST_F(ArgumentsTest, EachActionFillsItsRecord)
{
    const ConfigPtr generate =
        ConfigOf<FullArguments>({"-g", "-c", "in.xml", "-m", "out.xml", "--arch", "ARM64", "--os",
                                 "Windows", "--version", "601", "-l", "1000"});
    ASSERT_TRUE(generate->generate);
    EXPECT_EQ(generate->generate->arch, Arch::ARM64);
    EXPECT_EQ(generate->generate->os, Os::Windows);
    EXPECT_FALSE(generate->generate->osEdition);
    EXPECT_EQ(generate->generate->version, 601u);
    EXPECT_EQ(generate->logLevel, 1000u);

    const ConfigPtr verify = ConfigOf<FullArguments>({"-v", "-V", "--signature-type", "vorn2"});
    ASSERT_TRUE(verify->verify);
    EXPECT_TRUE(verify->verify->isVerbose);
    EXPECT_EQ(verify->verify->signatureType, SignatureType::Vorn2);
    EXPECT_EQ(verify->verify->manifestPaths, std::set<Path>{"integrity_check.xml"});
    EXPECT_EQ(verify->verify->signatureCheckMode, 0u);
}

TEST_F(ArgumentsTest, CheckersTakeManifestsOnceEachAndDefaultToTheOneBesideTheProgram)
{
    const std::string other = (dir_ / "a.xml").string();
    const ConfigPtr config = ConfigOf<CheckerArguments>(
        {file_, other, file_, "--trace", "t.log", "--verbose", "--crl", directory_});
    ASSERT_TRUE(config->verify);
    EXPECT_EQ(config->verify->manifestPaths, (std::set<Path>{other, file_}));
    EXPECT_EQ(config->verify->crlStoragePath, Path(directory_));
    EXPECT_EQ(config->logLevel, 800u);
    EXPECT_EQ(ConfigOf<CheckerArguments>({"--version"})->logLevel, 600u);

    const std::set<Path> besideTheProgram = ConfigOf<CheckerArguments>({})->verify->manifestPaths;
    ASSERT_EQ(besideTheProgram.size(), 1u);
    EXPECT_EQ(besideTheProgram.begin()->filename(), "integrity_check.xml");
    EXPECT_EQ(besideTheProgram.begin()->parent_path().filename(),
              "arguments");  // the test binary's folder
}

}  // namespace
}  // namespace integrity_check_tool::test
