#include <gtest/gtest.h>
#include <lum/flags.h>
#include <lum/result.h>

namespace crypto::lum {
namespace {

TEST(LumNamesTest, CodesOutsideTheTableAreNumbered)
{
    EXPECT_EQ(LumResultName(-20), "lumErrRdbAlreadyExists");
    EXPECT_EQ(LumResultName(3), "Unknown LUM error code: 3");
    EXPECT_EQ(LumResultName(-21), "Unknown LUM error code: -21");
    EXPECT_EQ(LumResultName(INT32_MIN), "Unknown LUM error code: -2147483648");
}

// Flags print in bit order; bits without a name print as hex.
TEST(LumNamesTest, FlagsRenderInBitOrderWithUnnamedBitsAsHex)
{
    EXPECT_EQ(VerificationFlagsToString(0), "None");
    EXPECT_EQ(VerificationFlagsToString(flags::kRevoked | flags::kSigned | flags::kExpired),
              "Signed|Revoked|Expired");
    EXPECT_EQ(VerificationFlagsToString(0xFFF3F),
              "Signed|Trusted|Embedded|Catalog|RevocationCheckSkipped|CounterSignatureUsed|"
              "SignatureValueNotMatched|MalformedContent|IncompleteChain|Revoked|Expired|"
              "InvalidExtension|UnconsumedCriticalExtension|InvalidUsage|InvalidIssuer|"
              "InvalidBasicContraints|InvalidPurpose|InvalidCertificateSign");
    EXPECT_EQ(VerificationFlagsToString(0x40), "0x40");
    EXPECT_EQ(VerificationFlagsToString(0x80000001), "Signed|0x80000000");
}

} // namespace
} // namespace crypto::lum
