#include <gtest/gtest.h>
#include <zel/service_locator.h>

#include "check/checker.h"
#include "check/verification_mismatch.h"
#include "factory/factory.h"
#include "hash/content_digest.h"
#include "support/manifest_builder.h"
#include "support/recording_tracer.h"
#include "support/temp_dir.h"
#include "utils/base64.h"

namespace integrity_check_tool::test {
namespace {

constexpr const char* kAbcSha256 = "ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=";

class CheckTest : public ::testing::Test {
protected:
    CheckTest()
    {
        auto config = std::make_shared<Config>();
        config->verify.emplace();
        factory_ =
            std::make_shared<Factory>(config, zel::MakeIntrusive<zel::ServiceLocator>(), tracer_);
        WriteFile(dir_ / "abc", "abc");
        WriteFile(dir_ / "empty", "");
    }

    /// The description of what checking `path` with `checks` throws, or "passed".
    std::string Outcome(const CheckInfoList& checks, const Path& path,
                        const ContentDigest* digest = nullptr)
    {
        try {
            factory_->CreateFileAnyOf(checks)->CheckFileValueWith(path, digest);
        } catch (const check::VerificationMismatch& mismatch) {
            return "mismatch: " + mismatch.GetDescription();
        } catch (const Exception& error) {
            return error.GetDescription();
        }
        return "passed";
    }

    TempDir dir_;
    zel::intrusive_ptr<RecordingTracer> tracer_ = zel::MakeIntrusive<RecordingTracer>(800);
    std::shared_ptr<Factory> factory_;
};

// A single check fails with its own mismatch, naming both values; of
// several, each failure is listed in order.
TEST_F(CheckTest, MismatchesNameTheCheckerAndBothSides)
{
    const std::string abc = (dir_ / "abc").string();
    const std::string empty = (dir_ / "empty").string();
    const std::string missing = (dir_ / "missing").string();
    const std::string mismatch = "mismatch: Verification mismatch with ";
    const std::tuple<CheckInfoList, std::string, std::string> cases[] = {
        {{Check(CheckType::Value, {'a', 'b', 'c'})}, abc, "passed"},
        {{Check(CheckType::Value, {'a', 'b'})},
         abc,
         mismatch + "'Value' checker. Reason: File " + abc + " has unexpected value"},
        {{Check(CheckType::Sha256, Base64Decode(kAbcSha256))},
         empty,
         mismatch + "'Sha256' checker. Reason: File " + empty + " has unexpected hash " +
             "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU= != expected " + kAbcSha256},
        {{Check(CheckType::Exists), Check(CheckType::Value, {})},
         missing,
         "All checks failed:\n\tChecker [1]: Verification mismatch with 'Exists' checker. Reason: "
         "File " +
             missing + " not exists.\n\tChecker [2]: Can't read or access file " + missing +
             ". Reason: No such file or directory"},
    };
    for (const auto& [checks, path, outcome] : cases) {
        EXPECT_EQ(Outcome(checks, path), outcome);
    }
    // Registries exist on other systems only; unknown types have no checker.
    EXPECT_EQ(Refusal([&] {
                  factory_->CreateRegistryAnyOf({Check(CheckType::Exists)})
                      ->CheckRegistryValue("HKLM\\Software", "Version", RegistryType::Sz);
              }),
              "Registry not supported on this platform");
    EXPECT_THROW(factory_->CreateFileChecker(Check(static_cast<CheckType>(7))), Exception);
    EXPECT_THROW(factory_->CreateValueProvider(static_cast<CheckType>(5)), Exception);
}

// A digest read ahead stands for the file's content in the hash checks of
// its type, every alternative of several included; what reading threw is
// thrown where the check would have read the file.
TEST_F(CheckTest, DigestsReadAheadStandForTheContent)
{
    const std::string abc = (dir_ / "abc").string();
    const std::string empty = (dir_ / "empty").string();
    const CheckInfoPtr sha = Check(CheckType::Sha256, Base64Decode(kAbcSha256));
    const ContentDigest abcDigest(CheckType::Sha256, Base64Decode(kAbcSha256));
    const ContentDigest otherType(CheckType::Gost2012, Blob{1, 2, 3});
    const ContentDigest failed(CheckType::Sha256,
                               std::make_exception_ptr(Exception("Can't read " + abc)));
    const std::tuple<CheckInfoList, std::string, const ContentDigest*, std::string> cases[] = {
        {{sha}, empty, &abcDigest, "passed"},
        {{Check(CheckType::Exists), sha}, empty, &abcDigest, "passed"},
        {{sha}, abc, &otherType, "passed"},
        {{sha}, abc, &failed, "Can't read " + abc},
        {{Check(CheckType::Value, {'x'}), sha},
         abc,
         &failed,
         "All checks failed:\n\tChecker [1]: Verification mismatch with 'Value' checker. Reason: "
         "File " +
             abc + " has unexpected value\n\tChecker [2]: Can't read " + abc},
    };
    for (const auto& [checks, path, digest, outcome] : cases) {
        EXPECT_EQ(Outcome(checks, path, digest), outcome);
    }
}

}  // namespace
}  // namespace integrity_check_tool::test
