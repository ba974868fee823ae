// GOST ("vorn2") manifests end to end: integrity_sign (or stock openssl with
// the GOST engine) signs, the checker and the tester verify against their
// compiled-in key sets.

#include <gtest/gtest.h>

#include "program.h"
#include "support/temp_dir.h"

namespace integrity_check_tool::test {
namespace {

constexpr const char* kSummaryOk = "\tManifests: 0 / 0 / 1\n\tFiles: 0 / 0 / 1\n";
constexpr const char* kUnknownKey = "Key for operation couldn't be found";

// The stock-OpenSSL route the README describes, word for word.
constexpr const char* kOpenSslRecipe = R"sh(
openssl dgst -engine gost -md_gost12_256 -sign gost.key -out manifest.sig manifest.xml
openssl pkey -engine gost -in gost.key -pubout -outform DER | tail -c 64 > key.xy
openssl dgst -engine gost -md_gost12_256 -binary key.xy | head -c 8 > key.id
{ cat manifest.xml; printf '\001'; cat key.id manifest.sig; printf '\000\000\000\115\000VORN2SG'; } > manifest.signed.xml
)sh";

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class Vorn2Test : public ::testing::Test {
protected:
    Vorn2Test()
    {
        WriteFile(dir_ / "product/agent", "x");
        WriteFile(Manifest(), "<Manifest productName=\"Demo\" productVersion=\"1.0\">"
                              "<File path=\"%ProductRoot%/agent\"><Check type=\"Value\" value=\"eA==\"/></File>"
                              "</Manifest>\n");
        content_ = ReadFile(Manifest());
    }

    Path Manifest() const { return dir_ / "product/integrity_check.xml"; }

    /// Signs the unsigned manifest anew with `key`.
    void SignManifest(const std::string& key) const
    {
        WriteFile(Manifest(), content_);
        const ProcessResult signing =
            RunProgram(Program::Sign, {"--type", "vorn2", "--key", key, Manifest().string()});
        ASSERT_EQ(signing.exitStatus, 0) << signing.err;
    }

    ProcessResult Check(Program program = Program::Checker) const
    {
        return RunProgram(program, {"--signature-type", "vorn2", Manifest().string()});
    }

    static void ExpectPasses(const ProcessResult& result)
    {
        EXPECT_EQ(result.exitStatus, 0) << result.err;
        EXPECT_TRUE(Contains(result.out, kSummaryOk)) << result.out;
        EXPECT_TRUE(result.out.ends_with("SUCCEEDED\n")) << result.out;
    }

    static void ExpectFails(const ProcessResult& result, const std::string& reason)
    {
        EXPECT_EQ(result.exitStatus, 1) << result.out;
        EXPECT_TRUE(Contains(result.err, reason)) << result.err;
        EXPECT_TRUE(result.err.ends_with("FAILED\n")) << result.err;
    }

    TempDir dir_;
    std::string content_;
};

TEST_F(Vorn2Test, RegularKeysPassAndAnyContentChangeFails)
{
    for (const char* key : {"regular/gost256.key", "regular/gost512.key"}) {
        SCOPED_TRACE(key);
        SignManifest(DemoPki(key));
        ExpectPasses(Check());

        std::string tampered = ReadFile(Manifest());
        tampered[content_.find("eA==")] = 'f';
        WriteFile(Manifest(), tampered);
        ExpectFails(Check(), "Invalid signature");
    }
}

TEST_F(Vorn2Test, EachProgramTrustsOnlyItsOwnKeySet)
{
    SignManifest(DemoPki("alternative/gost256.key"));
    ExpectFails(Check(), kUnknownKey);
    ExpectPasses(Check(Program::Tester));

    // A fresh key is in no compiled-in set.
    const Path key = dir_ / "fresh.key";
    const ProcessResult made =
        RunProgram(Program::Sign, {"--gen-key", "gost512", "--paramset", "B", "--output", key.string()});
    ASSERT_EQ(made.exitStatus, 0) << made.err;
    SignManifest(key.string());
    ExpectFails(Check(), kUnknownKey);
    ExpectFails(Check(Program::Tester), kUnknownKey);
}

TEST_F(Vorn2Test, StockOpenSslRecordVerifies)
{
    if (RunHostProcess({"openssl", "engine", "gost"}).exitStatus != 0) {
        GTEST_SKIP() << "the GOST engine for OpenSSL is not installed";
    }
    WriteFile(dir_ / "gost.key", ReadFile(DemoPki("regular/gost256.key")));
    WriteFile(dir_ / "manifest.xml", content_);
    const ProcessResult recipe = RunHostProcess({"sh", "-c", kOpenSslRecipe}, dir_.path().string());
    ASSERT_EQ(recipe.exitStatus, 0) << recipe.err;
    WriteFile(Manifest(), ReadFile(dir_ / "manifest.signed.xml"));
    ExpectPasses(Check());
}

}  // namespace
}  // namespace integrity_check_tool::test
