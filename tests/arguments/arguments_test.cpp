#include <sstream>

#include <gtest/gtest.h>

#include "arguments/checker.h"
#include "arguments/full.h"
#include "arguments/tester.h"
#include "exception.h"
#include "support/temp_dir.h"

namespace integrity_check_tool {
namespace {

using test::TempDir;
using test::WriteFile;

template <class Flavour>
std::shared_ptr<Flavour> Parsed(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "program");
    auto parsed = std::make_shared<Flavour>();
    parsed->Parse(arguments);
    return parsed;
}

template <class Flavour>
ConfigPtr ConfigOf(std::vector<std::string> arguments)
{
    return Parsed<Flavour>(std::move(arguments))->CreateConfig();
}

template <class Call>
std::string FailureOf(Call call)
{
    try {
        call();
    } catch (const Exception& error) {
        return error.GetDescription();
    }
    return "no failure";
}

TEST(FullArgumentsTest, OneActionAtMost)
{
    EXPECT_EQ(FailureOf([] { Parsed<FullArguments>({"-g", "-v"}); }), "Too many actions specified");
    EXPECT_EQ(FailureOf([] { Parsed<FullArguments>({"-n", "-w", "f", "-x", "g"}); }),
              "Too many actions specified");
    // The single-file options count as one action among themselves.
    EXPECT_NO_THROW(Parsed<FullArguments>({"-w", "f", "-y", "g"}));
    // Help skips validation.
    EXPECT_TRUE(Parsed<FullArguments>({"-g", "-v", "-h"})->IsHelpRequested());
}

TEST(FullArgumentsTest, ValueChecks)
{
    EXPECT_EQ(FailureOf([] { Parsed<FullArguments>({"--log-level", "1001"}); }), "Wrong trace level");
    EXPECT_EQ(ConfigOf<FullArguments>({"-w", "f", "-l", "1000"})->logLevel, 1000u);
    EXPECT_EQ(FailureOf([] { Parsed<FullArguments>({"--check-type", "NotExists"}); }),
              "Wrong check type: NotExists");
    EXPECT_EQ(FailureOf([] { ConfigOf<FullArguments>({"-g"}); }), "Config path not specified");
}

TEST(FullArgumentsTest, UnknownNamesAndOptionsCarryTheHelp)
{
    const std::string bad = FailureOf([] { Parsed<FullArguments>({"--arch", "x64"}); });
    EXPECT_EQ(bad.rfind("the argument ('x64') for option '--arch' is invalid\n\n"
                        "integrity_check_tool [options]\nSchema version: 2\n",
                        0),
              0u)
        << bad;
    const std::string unknown = FailureOf([] { Parsed<CheckerArguments>({"--bogus"}); });
    EXPECT_EQ(unknown.rfind("unrecognised option '--bogus'\n\nUse to check", 0), 0u) << unknown;
    EXPECT_NE(unknown.find("--signature-type"), std::string::npos);
}

TEST(FullArgumentsTest, ActionRecords)
{
    const ConfigPtr generate = ConfigOf<FullArguments>(
        {"-g", "-c", "in.xml", "-m", "out.xml", "--arch", "ARM64", "--os", "Windows", "--version", "601",
         "--check-type", "Sha256", "-L", "log.txt"});
    ASSERT_TRUE(generate->generate);
    EXPECT_EQ(generate->generate->configPath, "in.xml");
    EXPECT_EQ(generate->generate->manifestPath, "out.xml");
    EXPECT_EQ(generate->generate->arch, Arch::ARM64);
    EXPECT_EQ(generate->generate->os, Os::Windows);
    EXPECT_FALSE(generate->generate->osEdition);
    EXPECT_EQ(generate->generate->version, 601u);
    EXPECT_EQ(generate->generate->checkType, CheckType::Sha256);
    EXPECT_EQ(generate->logFile, Path("log.txt"));

    const std::pair<const char*, CheckType> singles[] = {{"-w", FullArguments::kDefaultHash},
                                                         {"-x", CheckType::Gost2012},
                                                         {"-y", CheckType::Sha256},
                                                         {"-z", CheckType::Value}};
    for (const auto& [option, type] : singles) {
        const ConfigPtr single = ConfigOf<FullArguments>({option, "file.bin"});
        ASSERT_TRUE(single->singleFileCheck) << option;
        EXPECT_EQ(single->singleFileCheck->checkType, type) << option;
        EXPECT_EQ(single->singleFileCheck->filePath, "file.bin");
    }

    EXPECT_EQ(ConfigOf<FullArguments>({"-n", "-m", "x.xml"})->normalize->manifestPath, "x.xml");
    const ConfigPtr verify = ConfigOf<FullArguments>({"-v", "-V", "--signature-type", "vorn2"});
    ASSERT_TRUE(verify->verify);
    EXPECT_TRUE(verify->verify->isVerbose);
    EXPECT_EQ(verify->verify->signatureType, SignatureType::Vorn2);
    EXPECT_EQ(verify->verify->manifestPaths, std::set<Path>{"integrity_check.xml"});
    EXPECT_EQ(verify->verify->signatureCheckMode, 0u);
}

TEST(CheckerArgumentsTest, ManifestsTraceAndVersion)
{
    TempDir dir;
    WriteFile(dir / "b.xml", "");
    const std::string a = (dir / "a.xml").string();
    const std::string b = (dir / "b.xml").string();
    const ConfigPtr config = ConfigOf<CheckerArguments>({b, a, b, "--trace", "t.log", "--verbose"});
    ASSERT_TRUE(config->verify);
    EXPECT_EQ(config->verify->manifestPaths, (std::set<Path>{a, b}));
    EXPECT_EQ(config->logLevel, 800u);
    EXPECT_EQ(config->logFile, Path("t.log"));
    EXPECT_EQ(config->verify->signatureType, SignatureType::Lum);

    const ConfigPtr version = ConfigOf<CheckerArguments>({"--version"});
    EXPECT_TRUE(version->displayVersion);
    EXPECT_FALSE(version->verify);
    EXPECT_EQ(version->logLevel, 600u);
}

TEST(CheckerArgumentsTest, PathsOfTheWrongKindAreRefused)
{
    TempDir dir;
    const std::string directory = dir.path().string();
    EXPECT_EQ(FailureOf([&] { ConfigOf<CheckerArguments>({directory}); }),
              "Manifest path " + directory + " resolved to non-regular file");
    WriteFile(dir / "file", "");
    const std::string file = (dir / "file").string();
    EXPECT_EQ(FailureOf([&] { ConfigOf<CheckerArguments>({file, "--crl", file}); }),
              "CRL storage path " + file + " is not a directory");
    EXPECT_EQ(ConfigOf<CheckerArguments>({file, "--crl", directory})->verify->crlStoragePath,
              Path(directory));
}

TEST(CheckerArgumentsTest, DefaultManifestLivesBesideTheProgram)
{
    const ConfigPtr config = ConfigOf<CheckerArguments>({});
    ASSERT_EQ(config->verify->manifestPaths.size(), 1u);
    const Path path = *config->verify->manifestPaths.begin();
    EXPECT_EQ(path.filename(), "integrity_check.xml");
    EXPECT_EQ(path.parent_path().filename(), "arguments");  // the test binary's folder
}

TEST(TesterArgumentsTest, SignatureModeFollowsTheSwitch)
{
    TempDir dir;
    WriteFile(dir / "m.xml", "");
    const std::string manifest = (dir / "m.xml").string();
    EXPECT_EQ(ConfigOf<TesterArguments>({manifest})->verify->signatureCheckMode, 1u);
    EXPECT_EQ(ConfigOf<TesterArguments>({manifest, "--without-signature"})->verify->signatureCheckMode,
              2u);
    EXPECT_EQ(FailureOf([] { Parsed<CheckerArguments>({"--without-signature"}); })
                  .rfind("unrecognised option '--without-signature'", 0),
              0u);
}

TEST(ArgumentsHelpTest, UsageSchemaAndGroups)
{
    std::ostringstream help;
    Parsed<TesterArguments>({"--help"})->PrintHelp(help);
    const std::string text = help.str();
    EXPECT_EQ(text.rfind("Use to check if the manifest file is in the same folder: integrity_tester "
                         "[options]\nOtherwise: integrity_tester [options] manifest...\nSchema version: 2\n",
                         0),
              0u)
        << text;
    EXPECT_NE(text.find("Options:"), std::string::npos);
    EXPECT_NE(text.find("verify manifest without signature (tests only)"), std::string::npos);
    EXPECT_EQ(text.find("Hidden"), std::string::npos);
    EXPECT_EQ(text.find("program"), std::string::npos);
}

}  // namespace
}  // namespace integrity_check_tool
