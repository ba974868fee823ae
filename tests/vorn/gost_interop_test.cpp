#include "support/temp_dir.h"
#include "vorn/gost2012_signature_verifier.h"
#include "vorn/gost_key_set.h"
#include "vorn/signer.h"
#include "vorn/vorn2_record.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

// Interoperability with Debian's GOST engine for OpenSSL: keys and
// signatures made by `openssl` work here and the other way round. The
// openssl command runs natively, also when the tests run under emulation.

namespace integrity_check_tool::vorn {
namespace {

using test::ReadFile;
using test::TempDir;
using test::WriteFile;

std::string Quoted(const Path& path)
{
    std::string quoted = "'";
    for (const char c : path.string()) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

bool Shell(const std::string& command)
{
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

Blob Bytes(const std::string& text)
{
    return Blob(text.begin(), text.end());
}

struct Flavour {
    unsigned bits;
    const char* algorithm;
    const char* engineParamSet;
    const char* digest;
};

constexpr Flavour kFlavours[] = {
    {256, "gost2012_256", "TCA", "-md_gost12_256"},
    {256, "gost2012_256", "A", "-md_gost12_256"}, // an older OID of the TC26 B curve
    {512, "gost2012_512", "C", "-md_gost12_512"},
    {512, "gost2012_512", "B", "-md_gost12_512"},
};

class GostInteropTest : public ::testing::TestWithParam<Flavour> {
protected:
    void SetUp() override
    {
        if (!Shell("openssl engine gost")) {
            GTEST_SKIP() << "the GOST engine for OpenSSL is not installed";
        }
        WriteFile(content_, "<manifest>signed across tools</manifest>\n");
    }

    Path Dir(const std::string& name) const { return dir_ / name; }

    TempDir dir_;
    Path content_ = dir_ / "content.xml";
};

TEST_P(GostInteropTest, SignatureOfOpensslVerifiesHere)
{
    const Flavour& flavour = GetParam();
    const Path key = Dir("key.pem");
    const Path pub = Dir("pub.pem");
    const Path sig = Dir("sig.bin");
    ASSERT_TRUE(Shell("openssl genpkey -engine gost -algorithm " + std::string(flavour.algorithm) +
                    " -pkeyopt paramset:" + flavour.engineParamSet + " -out " + Quoted(key)));
    ASSERT_TRUE(Shell("openssl pkey -engine gost -in " + Quoted(key) + " -pubout -out " + Quoted(pub)));
    ASSERT_TRUE(Shell("openssl dgst -engine gost " + std::string(flavour.digest) + " -sign " +
                    Quoted(key) + " -out " + Quoted(sig) + " " + Quoted(content_)));

    // Their key as we read it has the same public key as theirs.
    const GostPrivateKey loaded = LoadGostPrivateKey(ReadFile(key));
    EXPECT_EQ(GostPublicKeyToPem(loaded.PublicKey()), ReadFile(pub));

    const std::string pubPem = ReadFile(pub);
    const std::span<const std::uint8_t> pubFile(reinterpret_cast<const std::uint8_t*>(pubPem.data()),
                                                pubPem.size());
    const GostKeyBlobs blobs = MakeGostKeyBlobs({pubFile});
    const Blob signature = Bytes(ReadFile(sig));
    ASSERT_EQ(signature.size(), flavour.bits / 4);

    Blob file = Bytes(ReadFile(content_));
    const Blob record = BuildVorn2Record(loaded.PublicKey(), signature);
    file.insert(file.end(), record.begin(), record.end());
    const Path signedFile = Dir("signed.xml");
    WriteFile(signedFile, std::string(file.begin(), file.end()));

    Blob content;
    Gost2012SignatureVerifier(nullptr, blobs).Verify(signedFile, content);
    EXPECT_EQ(content, Bytes(ReadFile(content_)));
}

TEST_P(GostInteropTest, SignatureMadeHereVerifiesWithOpenssl)
{
    const Flavour& flavour = GetParam();
    const Path key = Dir("key.pem");
    const Path pub = Dir("pub.pem");
    const Path sig = Dir("sig.bin");
    ASSERT_TRUE(Shell("openssl genpkey -engine gost -algorithm " + std::string(flavour.algorithm) +
                    " -pkeyopt paramset:" + flavour.engineParamSet + " -out " + Quoted(key)));
    // Our key file must be one openssl reads: rewrite theirs through ours.
    const GostPrivateKey ours = LoadGostPrivateKey(ReadFile(key));
    WriteFile(key, GostPrivateKeyToPem(ours));
    WriteFile(pub, GostPublicKeyToPem(ours.PublicKey()));

    const Blob content = Bytes(ReadFile(content_));
    Blob signedFile = content;
    const Blob record = SignVorn2Record(content, ours);
    signedFile.insert(signedFile.end(), record.begin(), record.end());
    Vorn2Record parsed;
    ASSERT_EQ(ParseVorn2Record(signedFile, parsed), kSuccess);
    WriteFile(sig, std::string(parsed.signature.begin(), parsed.signature.end()));

    EXPECT_TRUE(Shell("openssl dgst -engine gost " + std::string(flavour.digest) + " -verify " +
                    Quoted(pub) + " -signature " + Quoted(sig) + " " + Quoted(content_)));
    // And openssl signs with the key file we wrote.
    EXPECT_TRUE(Shell("openssl dgst -engine gost " + std::string(flavour.digest) + " -sign " +
                    Quoted(key) + " -out " + Quoted(sig) + " " + Quoted(content_)));
    EXPECT_TRUE(Shell("openssl dgst -engine gost " + std::string(flavour.digest) + " -verify " +
                    Quoted(pub) + " -signature " + Quoted(sig) + " " + Quoted(content_)));
    // A changed content byte is refused by openssl too.
    WriteFile(content_, "<manifest>signed across tools</manifest>\r\n");
    EXPECT_FALSE(Shell("openssl dgst -engine gost " + std::string(flavour.digest) + " -verify " +
                     Quoted(pub) + " -signature " + Quoted(sig) + " " + Quoted(content_)));
}

TEST(GostInteropKeyTest, KeysGeneratedHereAreReadByOpenssl)
{
    if (!Shell("openssl engine gost")) {
        GTEST_SKIP() << "the GOST engine for OpenSSL is not installed";
    }
    TempDir dir;
    for (const auto& [bits, set] : {std::pair{256u, "A"}, {256u, "D"}, {512u, "A"}, {512u, "C"}}) {
        const GostPrivateKey key = GenerateGostKey(bits, set);
        WriteFile(dir / "key.pem", GostPrivateKeyToPem(key));
        ASSERT_TRUE(Shell("openssl pkey -engine gost -in " + Quoted(dir / "key.pem") +
                        " -pubout -out " + Quoted(dir / "pub.pem")))
            << bits << set;
        EXPECT_EQ(ReadFile(dir / "pub.pem"), GostPublicKeyToPem(key.PublicKey())) << bits << set;
    }
}

INSTANTIATE_TEST_SUITE_P(Flavours, GostInteropTest, ::testing::ValuesIn(kFlavours),
                         [](const ::testing::TestParamInfo<Flavour>& param) {
                             return std::string(param.param.algorithm) + "_" +
                                    param.param.engineParamSet;
                         });

} // namespace
} // namespace integrity_check_tool::vorn
