#include <boost/archive/iterators/dataflow_exception.hpp>
#include <gtest/gtest.h>

#include "utils/base64.h"

namespace integrity_check_tool {
namespace {

Blob Bytes(std::string_view text)
{
    return Blob(text.begin(), text.end());
}

TEST(Base64Test, KnownAnswersForEveryRemainderAndOnlyTheAlphabet)
{
    const std::pair<Blob, const char*> cases[] = {{{}, ""},
                                                  {{0x00}, "AA=="},
                                                  {{0x00, 0x00}, "AAA="},
                                                  {{0x00, 0x00, 0x00}, "AAAA"},
                                                  {Bytes("foob"), "Zm9vYg=="},
                                                  {Bytes("fooba"), "Zm9vYmE="},
                                                  {Bytes("foobar"), "Zm9vYmFy"},
                                                  {{0xFB, 0xFF, 0xBF}, "+/+/"}};
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(Base64Encode(bytes), text);
        EXPECT_EQ(Base64Decode(text), bytes) << text;
    }
    // Unpadded and odd-length text decodes without reading past its end.
    const std::pair<const char*, const char*> loose[] = {
        {"Zm9vYg", "foob"}, {"Zg", "f"}, {"Z", ""}, {"====", ""}};
    for (const auto& [text, bytes] : loose) {
        EXPECT_EQ(Base64Decode(text), Bytes(bytes)) << text;
    }
    for (const char* text : {"Zm9v!", "Zm 9v", "Zm9v\n", "\xC3\xA4xyz", "-_AA"}) {
        EXPECT_THROW(Base64Decode(text), boost::archive::iterators::dataflow_exception) << text;
    }
}

}  // namespace
}  // namespace integrity_check_tool
