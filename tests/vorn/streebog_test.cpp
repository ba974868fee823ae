#include "vorn/result.h"
#include "vorn/streebog_core.h"

#include <gtest/gtest.h>
#include <random>

namespace integrity_check_tool::vorn {
namespace {

// The vectorised compression must be a drop-in for the portable one; the
// known-answer tests only exercise whichever this processor selects.
TEST(StreebogCompressTest, VectorAndPortableCompressionAgree)
{
    const streebog::CompressFunction vector = streebog::VectorCompress();
    if (vector == nullptr) {
        GTEST_SKIP() << "no vectorised compression on this build or processor";
    }
    std::mt19937_64 random(42);
    for (int i = 0; i < 200; ++i) {
        streebog::Block h;
        streebog::Block m;
        streebog::Block n;
        for (std::size_t word = 0; word < 8; ++word) {
            h[word] = random();
            m[word] = random();
            n[word] = i % 2 == 0 ? random() : 0;
        }
        streebog::Block portable = h;
        streebog::CompressPortable(portable, m, n);
        vector(h, m, n);
        EXPECT_EQ(h, portable) << "block " << i;
    }
}

TEST(VornResultTest, CodesOutsideTheTableGiveTheUnknownText)
{
    EXPECT_STREQ(ResultMessage(0), "The unknown internal error occurred");
    EXPECT_STREQ(ResultMessage(0xFFFFFFFF), "The unknown internal error occurred");
}

} // namespace
} // namespace integrity_check_tool::vorn
