// GOST ("vorn2") manifests end to end: integrity_sign (or stock openssl with
// the GOST engine) signs, the checker and the tester verify against their
// compiled-in key sets.

#include <gtest/gtest.h>

#include "program.h"

namespace integrity_check_tool::test {
namespace {

constexpr const char* kUnknownKey = "Key for operation couldn't be found";

// The stock-OpenSSL route the README describes, word for word.
constexpr const char* kOpenSslRecipe = R"sh(
openssl dgst -engine gost -md_gost12_256 -sign gost.key -out manifest.sig manifest.xml
openssl pkey -engine gost -in gost.key -pubout -outform DER | tail -c 64 > key.xy
openssl dgst -engine gost -md_gost12_256 -binary key.xy | head -c 8 > key.id
{ cat manifest.xml; printf '\001'; cat key.id manifest.sig; printf '\000\000\000\115\000VORN2SG'; } > manifest.signed.xml
)sh";

class Vorn2Test : public SignedProductTest {
protected:
    /// Signs the unsigned manifest anew with `key`.
    void SignManifest(const std::string& key) const
    {
        WriteFile(Manifest(), content_);
        ASSERT_TRUE(Succeeded(
            RunProgram(Program::Sign, {"--type", "vorn2", "--key", key, Manifest().string()})));
    }

    ProcessResult Check(Program program = Program::Checker) const
    {
        return RunProgram(program, {"--signature-type", "vorn2", Manifest().string()});
    }
};

TEST_F(Vorn2Test, RegularKeysPassAndAnyContentChangeFails)
{
    for (const char* key : {"regular/gost256.key", "regular/gost512.key"}) {
        SCOPED_TRACE(key);
        SignManifest(DemoPki(key));
        EXPECT_TRUE(Succeeded(Check(), kSummaryOk));
        std::string tampered = ReadFile(Manifest());
        tampered[content_.find("eA==")] = 'f';
        WriteFile(Manifest(), tampered);
        EXPECT_TRUE(Failed(Check(), "Invalid signature"));
    }
}

TEST_F(Vorn2Test, EachProgramTrustsOnlyItsOwnKeySet)
{
    SignManifest(DemoPki("alternative/gost256.key"));
    EXPECT_TRUE(Failed(Check(), kUnknownKey));
    EXPECT_TRUE(Succeeded(Check(Program::Tester), kSummaryOk));
    // A fresh key is in no compiled-in set.
    const Path key = dir_ / "fresh.key";
    ASSERT_TRUE(Succeeded(RunProgram(
        Program::Sign, {"--gen-key", "gost512", "--paramset", "B", "--output", key.string()})));
    SignManifest(key.string());
    EXPECT_TRUE(Failed(Check(), kUnknownKey));
    EXPECT_TRUE(Failed(Check(Program::Tester), kUnknownKey));
}

TEST_F(Vorn2Test, StockOpenSslRecordVerifies)
{
    if (RunHostProcess({"openssl", "engine", "gost"}).exitStatus != 0) {
        GTEST_SKIP() << "the GOST engine for OpenSSL is not installed";
    }
    WriteFile(dir_ / "gost.key", ReadFile(DemoPki("regular/gost256.key")));
    WriteFile(dir_ / "manifest.xml", content_);
    ASSERT_TRUE(Succeeded(RunHostProcess({"sh", "-c", kOpenSslRecipe}, dir_.path().string())));
    WriteFile(Manifest(), ReadFile(dir_ / "manifest.signed.xml"));
    EXPECT_TRUE(Succeeded(Check(), kSummaryOk));
}

}  // namespace
}  // namespace integrity_check_tool::test
