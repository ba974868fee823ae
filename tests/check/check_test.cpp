#include <sys/stat.h>

#include <gtest/gtest.h>
#include <zel/service_locator.h>

#include "check/anyof.h"
#include "check/checker.h"
#include "check/verification_mismatch.h"
#include "factory/factory.h"
#include "support/manifest_builder.h"
#include "support/temp_dir.h"
#include "utils/base64.h"

namespace integrity_check_tool {
namespace {

using test::Check;
using test::RecordingTracer;
using test::TempDir;
using test::WriteFile;

constexpr const char* kAbcSha256 = "ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=";

class CheckTest : public ::testing::Test {
protected:
    CheckTest()
    {
        auto config = std::make_shared<Config>();
        config->verify.emplace();
        factory_ = std::make_shared<Factory>(config, zel::MakeIntrusive<zel::ServiceLocator>(), tracer_);
        WriteFile(dir_ / "abc", "abc");
        WriteFile(dir_ / "empty", "");
    }

    /// The description of what checking `path` with `checks` throws, or "passed".
    std::string Outcome(const CheckInfoList& checks, const Path& path)
    {
        try {
            factory_->CreateFileAnyOf(checks)->CheckFileValue(path);
        } catch (const check::VerificationMismatch& mismatch) {
            return "mismatch: " + mismatch.GetDescription();
        } catch (const Exception& error) {
            return error.GetDescription();
        }
        return "passed";
    }

    Path Missing() const { return dir_ / "missing"; }

    TempDir dir_;
    zel::intrusive_ptr<RecordingTracer> tracer_ = zel::MakeIntrusive<RecordingTracer>(800);
    std::shared_ptr<Factory> factory_;
};

TEST_F(CheckTest, ExistenceChecksShareTheirWording)
{
    const std::string abc = (dir_ / "abc").string();
    const std::string missing = Missing().string();
    EXPECT_EQ(Outcome({Check(CheckType::Exists)}, dir_ / "abc"), "passed");
    EXPECT_EQ(Outcome({Check(CheckType::Exists)}, Missing()),
              "mismatch: Verification mismatch with 'Exists' checker. Reason: File " + missing + " not exists.");
    EXPECT_EQ(Outcome({Check(CheckType::NotExists)}, Missing()), "passed");
    EXPECT_EQ(Outcome({Check(CheckType::NotExists)}, dir_ / "abc"),
              "mismatch: Verification mismatch with 'NotExists' checker. Reason: File " + abc + " exists");
    EXPECT_EQ(tracer_->records.front(), "Checking existence of file " + abc + " ...");
    EXPECT_EQ(tracer_->records.at(1), "File " + abc + " exists");
}

TEST_F(CheckTest, ValueComparesRawBytes)
{
    EXPECT_EQ(Outcome({Check(CheckType::Value, {})}, dir_ / "empty"), "passed");
    EXPECT_EQ(Outcome({Check(CheckType::Value, {'a', 'b', 'c'})}, dir_ / "abc"), "passed");
    EXPECT_EQ(Outcome({Check(CheckType::Value, {'a', 'b'})}, dir_ / "abc"),
              "mismatch: Verification mismatch with 'Value' checker. Reason: File " + (dir_ / "abc").string() +
                  " has unexpected value");
}

TEST_F(CheckTest, HashNamesItsAlgorithmAndBothDigests)
{
    EXPECT_EQ(Outcome({Check(CheckType::Sha256, Base64Decode(kAbcSha256))}, dir_ / "abc"), "passed");
    const std::string empty = "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=";
    EXPECT_EQ(Outcome({Check(CheckType::Sha256, Base64Decode(kAbcSha256))}, dir_ / "empty"),
              "mismatch: Verification mismatch with 'Sha256' checker. Reason: File " + (dir_ / "empty").string() +
                  " has unexpected hash " + empty + " != expected " + kAbcSha256);
    const std::string gost = Outcome({Check(CheckType::Gost2012, Base64Decode(kAbcSha256))}, dir_ / "abc");
    EXPECT_EQ(gost.rfind("mismatch: Verification mismatch with 'Gost2012' checker.", 0), 0u) << gost;
}

TEST_F(CheckTest, UnreadableObjectsAreErrorsNotMismatches)
{
    EXPECT_EQ(Outcome({Check(CheckType::Sha256, Base64Decode(kAbcSha256))}, Missing()),
              "Can't read or access file " + Missing().string() + ". Reason: No such file or directory");
    EXPECT_EQ(Outcome({Check(CheckType::Value, {})}, dir_.path()),
              "Can't read or access file " + dir_.path().string() + ". Reason: Is a directory");
    ASSERT_EQ(::mkfifo((dir_ / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(Outcome({Check(CheckType::Value, {})}, dir_ / "fifo"),
              "Can't read or access file " + (dir_ / "fifo").string() + ". Reason: Not a regular file");
}

TEST_F(CheckTest, AnyOfWithOneAlternativeFailsLikeTheBareCheck)
{
    const CheckInfoList single{Check(CheckType::Exists)};
    auto anyOf = std::make_shared<check::AnyOf>(
        tracer_, std::vector<check::AnyOf::Alternative>{
                     {"Exists #1", factory_->CreateFileChecker(single[0]), factory_->CreateRegistryChecker(single[0])}});
    EXPECT_THROW(anyOf->CheckFileValue(Missing()), check::VerificationMismatch);
}

TEST_F(CheckTest, AnyOfStopsAtTheFirstPass)
{
    tracer_->records.clear();
    EXPECT_EQ(Outcome({Check(CheckType::NotExists), Check(CheckType::Exists), Check(CheckType::Value, {'x'})},
                      dir_ / "abc"),
              "passed");
    std::vector<std::string> checks;
    for (const std::string& record : tracer_->records) {
        if (record.rfind("Check [", 0) == 0) {
            checks.push_back(record);
        }
    }
    ASSERT_EQ(checks.size(), 4u);
    EXPECT_EQ(checks[0], "Check [NotExists #1] ...");
    EXPECT_EQ(checks[1].rfind("Check [NotExists #1] - Failed. Verification mismatch with 'NotExists'", 0), 0u);
    EXPECT_EQ(checks[2], "Check [Exists #2] ...");
    EXPECT_EQ(checks[3], "Check [Exists #2] - Succeeded");
}

TEST_F(CheckTest, AnyOfListsEveryFailureInOrder)
{
    const std::string path = Missing().string();
    EXPECT_EQ(Outcome({Check(CheckType::Exists), Check(CheckType::Value, {})}, Missing()),
              "All checks failed:\n\tChecker [1]: Verification mismatch with 'Exists' checker. Reason: File " + path +
                  " not exists.\n\tChecker [2]: Can't read or access file " + path +
                  ". Reason: No such file or directory");
    EXPECT_EQ(Outcome({}, Missing()), "There are no checks for file " + path);
}

TEST_F(CheckTest, RegistryIsRefusedOnThisPlatform)
{
    const IRegistryCheckerPtr checker = factory_->CreateRegistryAnyOf({Check(CheckType::Exists)});
    try {
        checker->CheckRegistryValue("HKLM\\Software", "Version", RegistryType::Sz);
        ADD_FAILURE() << "registry check passed";
    } catch (const Exception& error) {
        EXPECT_EQ(error.GetDescription(), "Registry not supported on this platform");
    }
}

TEST_F(CheckTest, UnknownCheckTypeIsRefusedByTheFactory)
{
    EXPECT_THROW(factory_->CreateFileChecker(Check(static_cast<CheckType>(7))), Exception);
    EXPECT_THROW(factory_->CreateValueProvider(static_cast<CheckType>(5)), Exception);
}

}  // namespace
}  // namespace integrity_check_tool
