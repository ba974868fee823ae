#include "utils/base64.h"

#include <boost/archive/iterators/dataflow_exception.hpp>
#include <gtest/gtest.h>

namespace integrity_check_tool {
namespace {

Blob Bytes(std::string_view text) { return Blob(text.begin(), text.end()); }

TEST(Base64Test, EncodesWithPaddingForEveryRemainder)
{
    EXPECT_EQ(Base64Encode({}), "");
    EXPECT_EQ(Base64Encode({0x00}), "AA==");
    EXPECT_EQ(Base64Encode({0x00, 0x00}), "AAA=");
    EXPECT_EQ(Base64Encode({0x00, 0x00, 0x00}), "AAAA");
    EXPECT_EQ(Base64Encode(Bytes("foobar")), "Zm9vYmFy");
    EXPECT_EQ(Base64Encode({0xFB, 0xFF, 0xBF}), "+/+/");
}

TEST(Base64Test, DecodeDropsOneByteForEachTrailingPad)
{
    EXPECT_TRUE(Base64Decode("").empty());
    EXPECT_EQ(Base64Decode("AA=="), Blob({0x00}));
    EXPECT_EQ(Base64Decode("AAA="), Blob({0x00, 0x00}));
    EXPECT_EQ(Base64Decode("Zm9vYg=="), Bytes("foob"));
    EXPECT_EQ(Base64Decode("Zm9vYmE="), Bytes("fooba"));
}

TEST(Base64Test, RoundTripsEveryLengthAndByteValue)
{
    Blob bytes;
    for (int length = 0; length < 300; ++length) {
        EXPECT_EQ(Base64Decode(Base64Encode(bytes)), bytes) << "length " << length;
        bytes.push_back(static_cast<std::uint8_t>(length * 37 + 11));
    }
}

TEST(Base64Test, UnpaddedAndOddLengthTextDecodesWithoutReadingPastTheEnd)
{
    EXPECT_EQ(Base64Decode("Zm9vYg"), Bytes("foob"));
    EXPECT_EQ(Base64Decode("Zg"), Bytes("f"));
    EXPECT_TRUE(Base64Decode("Z").empty());
    EXPECT_TRUE(Base64Decode("====").empty());
}

TEST(Base64Test, RejectsCharactersOutsideTheAlphabet)
{
    for (const char* text : {"Zm9v!", "Zm 9v", "Zm9v\n", "\xC3\xA4xyz", "-_AA"}) {
        try {
            Base64Decode(text);
            ADD_FAILURE() << "accepted " << text;
        } catch (const boost::archive::iterators::dataflow_exception& error) {
            EXPECT_STREQ(error.what(), "attempt to decode a value not in base64 char set");
        }
    }
}

}  // namespace
}  // namespace integrity_check_tool
