#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "hash/streebog.h"
#include "sign/gost_signer.h"
#include "signature/gost3410.h"
#include "support/temp_dir.h"

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
    const char* engineParamSet;
    const char* ourParamSet;  ///< of a key generated here
};

// The 256-bit engine set "A" is the TC26 B curve under its older OID.
constexpr Flavour kFlavours[] = {
    {256, "A", "D"},
    {512, "C", "A"},
};

class GostInteropTest : public ::testing::TestWithParam<Flavour> {
protected:
    void SetUp() override
    {
        if (!Openssl("engine", "")) {
            GTEST_SKIP() << "the GOST engine for OpenSSL is not installed";
        }
        WriteFile(dir_ / "content.xml", "<manifest>signed across tools</manifest>\n");
    }

    /// The quoted path of `name` in the test directory.
    std::string At(const std::string& name) const { return "'" + (dir_ / name).string() + "'"; }

    /// `openssl dgst` with this size's digest, `action` and the content.
    bool Dgst(const std::string& action) const
    {
        return Openssl("dgst", "-md_gost12_" + std::to_string(GetParam().bits) + " " + action +
                                   " " + At("content.xml"));
    }

    test::TempDir dir_;
};

TEST_P(GostInteropTest, KeysAndSignaturesCrossBetweenOpensslAndHere)
{
    const Flavour& flavour = GetParam();
    ASSERT_TRUE(Openssl("genpkey", "-algorithm gost2012_" + std::to_string(flavour.bits) +
                                       " -pkeyopt paramset:" + flavour.engineParamSet + " -out " +
                                       At("key.pem")));
    ASSERT_TRUE(Openssl("pkey", "-in " + At("key.pem") + " -pubout -out " + At("pub.pem")));
    ASSERT_TRUE(Dgst("-sign " + At("key.pem") + " -out " + At("sig.bin")));

    // Their key as read here has their public key, and their signature
    // (s || r) verifies here.
    const GostPrivateKey theirs = LoadGostPrivateKey(ReadFile(dir_ / "key.pem"));
    EXPECT_EQ(GostPublicKeyToPem(theirs.PublicKey()), ReadFile(dir_ / "pub.pem"));
    const GostCurve& curve = theirs.Curve();
    const Blob digest = Streebog::Digest(curve.DigestSize(), Bytes(ReadFile(dir_ / "content.xml")));
    const Blob signature = Bytes(ReadFile(dir_ / "sig.bin"));
    ASSERT_EQ(signature.size(), flavour.bits / 4);
    EXPECT_TRUE(Gost3410::Verify(curve, theirs.PublicKey().Point(), digest, signature));

    // A signature made here verifies with openssl.
    const Blob ours = Gost3410::Sign(curve, theirs.Secret(), digest);
    WriteFile(dir_ / "sig.bin", std::string(ours.begin(), ours.end()));
    EXPECT_TRUE(Dgst("-verify " + At("pub.pem") + " -signature " + At("sig.bin")));

    // A key generated here is read by openssl to the same public key.
    const GostPrivateKey generated = GenerateGostKey(flavour.bits, flavour.ourParamSet);
    WriteFile(dir_ / "new.pem", GostPrivateKeyToPem(generated));
    ASSERT_TRUE(Openssl("pkey", "-in " + At("new.pem") + " -pubout -out " + At("new.pub.pem")));
    EXPECT_EQ(ReadFile(dir_ / "new.pub.pem"), GostPublicKeyToPem(generated.PublicKey()));
}

INSTANTIATE_TEST_SUITE_P(Flavours, GostInteropTest, ::testing::ValuesIn(kFlavours),
                         [](const ::testing::TestParamInfo<Flavour>& param) {
                             return "gost2012_" + std::to_string(param.param.bits) + "_" +
                                    param.param.engineParamSet;
                         });

}  // namespace
}  // namespace integrity_check_tool::vorn
