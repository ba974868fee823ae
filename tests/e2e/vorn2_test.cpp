// GOST ("vorn2") manifests end to end: integrity_sign (or stock openssl with
// the GOST engine) signs, the checker and the tester verify against their
// compiled-in key sets.

#include <tuple>

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

// Both ways round: a key openssl made signs here and openssl verifies the
// record's s || r; a key made here gives openssl the same public key.
TEST_F(Vorn2Test, KeysAndSignaturesCrossWithStockOpenSsl)
{
    if (RunHostProcess({"openssl", "engine", "gost"}).exitStatus != 0) {
        GTEST_SKIP() << "the GOST engine for OpenSSL is not installed";
    }
    // The 256-bit engine set "A" is the TC26 B curve under its older OID.
    for (const auto& [bits, theirs, ours] : {std::tuple{"256", "A", "D"}, {"512", "C", "A"}}) {
        SCOPED_TRACE(bits);
        const auto host = [&](const std::string& script) {
            return Succeeded(
                RunHostProcess({"sh", "-ec", script, bits, theirs, ours}, dir_.path().string()));
        };
        ASSERT_TRUE(host("openssl genpkey -engine gost -algorithm gost2012_$0 -pkeyopt "
                         "paramset:$1 -out their.key\n"
                         "openssl pkey -engine gost -in their.key -pubout -out their.pub"));
        SignManifest((dir_ / "their.key").string());
        WriteFile(dir_ / "content", content_);
        EXPECT_TRUE(host("n=$(($0 / 4)); tail -c $((n + 12)) '" + Manifest().string() +
                         "' | head -c $n >record.sig\n"
                         "openssl dgst -engine gost -md_gost12_$0 -verify their.pub "
                         "-signature record.sig content"));

        ASSERT_TRUE(Succeeded(
            RunProgram(Program::Sign,
                       {"--gen-key", std::string("gost") + bits, "--paramset", ours, "--output",
                        (dir_ / "ours.key").string(), "--pubout", (dir_ / "ours.pub").string()})));
        EXPECT_TRUE(host("openssl pkey -engine gost -in ours.key -pubout | cmp - ours.pub\n"
                         "rm ours.key ours.pub"));
    }
}

}  // namespace
}  // namespace integrity_check_tool::test
