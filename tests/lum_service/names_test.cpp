#include <gtest/gtest.h>
#include <lum/flags.h>
#include <lum/result.h>
#include <lum/service.h>

namespace crypto::lum {
namespace {

TEST(LumResultNameTest, NamesEveryCodeAndNumbersTheRest)
{
    EXPECT_EQ(LumResultName(2), "lumIncompleteSignature");
    EXPECT_EQ(LumResultName(1), "lumSignatureNotFound");
    EXPECT_EQ(LumResultName(0), "lumOk");
    EXPECT_EQ(LumResultName(-1), "lumErrNotInitialized");
    EXPECT_EQ(LumResultName(-13), "lumErrInvalidSignature");
    EXPECT_EQ(LumResultName(-19), "lumErrRdbAbsent");
    EXPECT_EQ(LumResultName(-20), "lumErrRdbAlreadyExists");
    EXPECT_EQ(LumResultName(3), "Unknown LUM error code: 3");
    EXPECT_EQ(LumResultName(-21), "Unknown LUM error code: -21");
    EXPECT_EQ(LumResultName(INT32_MIN), "Unknown LUM error code: -2147483648");
}

TEST(VerificationFlagsTest, RendersNamesInBitOrder)
{
    EXPECT_EQ(VerificationFlagsToString(0), "None");
    EXPECT_EQ(VerificationFlagsToString(0x3), "Signed|Trusted");
    EXPECT_EQ(VerificationFlagsToString(flags::kRevoked | flags::kSigned | flags::kExpired),
              "Signed|Revoked|Expired");
    EXPECT_EQ(VerificationFlagsToString(0xFFF3F),
              "Signed|Trusted|Embedded|Catalog|RevocationCheckSkipped|CounterSignatureUsed|"
              "SignatureValueNotMatched|MalformedContent|IncompleteChain|Revoked|Expired|"
              "InvalidExtension|"
              "UnconsumedCriticalExtension|InvalidUsage|InvalidIssuer|InvalidBasicContraints|"
              "InvalidPurpose|"
              "InvalidCertificateSign");
}

TEST(VerificationFlagsTest, ShowsUnnamedBitsAsHex)
{
    EXPECT_EQ(VerificationFlagsToString(0x40), "0x40");
    EXPECT_EQ(VerificationFlagsToString(0x80000001), "Signed|0x80000000");
}

TEST(GostVersionTest, GivesTheFixedTagAndRefusesNull)
{
    EXPECT_EQ(LumCryptoPro_GetGostLibraryVersionString(nullptr), -1);
    const char* version = nullptr;
    EXPECT_EQ(LumCryptoPro_GetGostLibraryVersionString(&version), lumOk);
    EXPECT_STREQ(version, "<crypto_pro:ver:1.0.1>");
}

} // namespace
} // namespace crypto::lum
