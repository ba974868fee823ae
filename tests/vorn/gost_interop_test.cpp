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
using test::WriteFile;

/// Runs `openssl <command> -engine gost <arguments>` quietly.
bool Openssl(const std::string& command, const std::string& arguments)
{
    return std::system(("openssl " + command + " -engine gost " + arguments + " >/dev/null 2>&1")
                           .c_str()) == 0;
}

Blob Bytes(const std::string& text)
{
    return Blob(text.begin(), text.end());
}

struct Flavour {
    unsigned bits;
    const char* engineAlgorithm;
    const char* engineParamSet;
    const char* ourParamSet; ///< of a key generated here
};

constexpr Flavour kFlavours[] = {
    {256, "gost2012_256", "TCA", "A"},
    {256, "gost2012_256", "A", "D"}, // an older OID of the TC26 B curve
    {512, "gost2012_512", "C", "A"},
    {512, "gost2012_512", "B", "C"},
};

class GostInteropTest : public ::testing::TestWithParam<Flavour> {
protected:
    void SetUp() override
    {
        if (!Openssl("engine", "")) {
            GTEST_SKIP() << "the GOST engine for OpenSSL is not installed";
        }
        WriteFile(content_, "<manifest>signed across tools</manifest>\n");
    }

    /// The quoted path of `name` in the test directory.
    std::string At(const std::string& name) const { return "'" + (dir_ / name).string() + "'"; }

    std::string Digest() const
    {
        return GetParam().bits == 256 ? "-md_gost12_256" : "-md_gost12_512";
    }

    test::TempDir dir_;
    Path content_ = dir_ / "content.xml";
};

TEST_P(GostInteropTest, KeysAndSignaturesCrossBetweenOpensslAndHere)
{
    const Flavour& flavour = GetParam();
    ASSERT_TRUE(Openssl("genpkey", "-algorithm " + std::string(flavour.engineAlgorithm) +
                                       " -pkeyopt paramset:" + flavour.engineParamSet + " -out " +
                                       At("key.pem")));
    ASSERT_TRUE(Openssl("pkey", "-in " + At("key.pem") + " -pubout -out " + At("pub.pem")));
    ASSERT_TRUE(Openssl("dgst", Digest() + " -sign " + At("key.pem") + " -out " + At("sig.bin") +
                                    " " + At("content.xml")));

    // Their key as read here has their public key, and their signature in a
    // record verifies here.
    const GostPrivateKey theirs = LoadGostPrivateKey(ReadFile(dir_ / "key.pem"));
    const std::string pubPem = ReadFile(dir_ / "pub.pem");
    EXPECT_EQ(GostPublicKeyToPem(theirs.PublicKey()), pubPem);
    const Blob signature = Bytes(ReadFile(dir_ / "sig.bin"));
    ASSERT_EQ(signature.size(), flavour.bits / 4);
    Blob file = Bytes(ReadFile(content_));
    const Blob record = BuildVorn2Record(theirs.PublicKey(), signature);
    file.insert(file.end(), record.begin(), record.end());
    WriteFile(dir_ / "signed.xml", std::string(file.begin(), file.end()));
    const std::span<const std::uint8_t> pubFile(
        reinterpret_cast<const std::uint8_t*>(pubPem.data()), pubPem.size());
    Blob content;
    Gost2012SignatureVerifier(nullptr, MakeGostKeyBlobs({pubFile}))
        .Verify(dir_ / "signed.xml", content);
    EXPECT_EQ(content, Bytes(ReadFile(content_)));

    // The key written here is one openssl signs with, and a signature made
    // here verifies with openssl.
    WriteFile(dir_ / "key.pem", GostPrivateKeyToPem(theirs));
    Vorn2Record parsed;
    Blob signedHere = Bytes(ReadFile(content_));
    const Blob ourRecord = SignVorn2Record(signedHere, theirs);
    signedHere.insert(signedHere.end(), ourRecord.begin(), ourRecord.end());
    ASSERT_EQ(ParseVorn2Record(signedHere, parsed), kSuccess);
    WriteFile(dir_ / "sig.bin", std::string(parsed.signature.begin(), parsed.signature.end()));
    const std::string verify = Digest() + " -verify " + At("pub.pem") + " -signature " +
                               At("sig.bin") + " " + At("content.xml");
    EXPECT_TRUE(Openssl("dgst", verify));
    EXPECT_TRUE(Openssl("dgst", Digest() + " -sign " + At("key.pem") + " -out " + At("sig.bin") +
                                    " " + At("content.xml")));
    EXPECT_TRUE(Openssl("dgst", verify));

    // A key generated here is read by openssl to the same public key.
    const GostPrivateKey generated = GenerateGostKey(flavour.bits, flavour.ourParamSet);
    WriteFile(dir_ / "new.pem", GostPrivateKeyToPem(generated));
    ASSERT_TRUE(Openssl("pkey", "-in " + At("new.pem") + " -pubout -out " + At("new.pub.pem")));
    EXPECT_EQ(ReadFile(dir_ / "new.pub.pem"), GostPublicKeyToPem(generated.PublicKey()));
}

INSTANTIATE_TEST_SUITE_P(Flavours, GostInteropTest, ::testing::ValuesIn(kFlavours),
                         [](const ::testing::TestParamInfo<Flavour>& param) {
                             return std::string(param.param.engineAlgorithm) + "_" +
                                    param.param.engineParamSet;
                         });

} // namespace
} // namespace integrity_check_tool::vorn
