#include <random>
#include <string>

#include <gtest/gtest.h>

#include "manifest/path_order.h"
#include "types.h"

namespace integrity_check_tool {
namespace {

int Sign(int value) { return value < 0 ? -1 : (value > 0 ? 1 : 0); }

TEST(PathOrderTest, AgreesWithFilesystemPathComparison)
{
    // Separators, dots, bytes on both sides of '/' and a non-ASCII byte.
    const std::string alphabet = "//a.!-0\xC3";
    std::mt19937 random(12345);
    std::uniform_int_distribution<std::size_t> length(0, 7);
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    auto make = [&] {
        std::string path;
        for (std::size_t i = length(random); i > 0; --i) {
            path += alphabet[pick(random)];
        }
        return path;
    };
    for (int i = 0; i < 20000; ++i) {
        const std::string left = make();
        const std::string right = make();
        ASSERT_EQ(ComparePaths(left, right), Sign(Path(left).compare(Path(right))))
            << '"' << left << "\" vs \"" << right << '"';
    }
}

// Long paths that share prefixes of every length put the first difference
// and the doubled separators at every offset within and across eight-byte words.
TEST(PathOrderTest, LongPathsAgreeWithFilesystemPathComparison)
{
    const std::string alphabet = "///ab.-\xC3";
    std::mt19937 random(678);
    std::uniform_int_distribution<std::size_t> length(0, 40);
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    auto make = [&](std::size_t size) {
        std::string path;
        for (; size > 0; --size) {
            path += alphabet[pick(random)];
        }
        return path;
    };
    for (int i = 0; i < 20000; ++i) {
        const std::string prefix = make(length(random));
        const std::string left = prefix + make(length(random) / 4);
        const std::string right = prefix + make(length(random) / 4);
        ASSERT_EQ(ComparePaths(left, right), Sign(Path(left).compare(Path(right))))
            << '"' << left << "\" vs \"" << right << '"';
    }
}

TEST(PathOrderTest, SeparatorSortsBeforeOtherCharacters)
{
    EXPECT_LT(ComparePaths("a/b", "a-b"), 0);
    EXPECT_LT(ComparePaths("a", "a/b"), 0);
    EXPECT_EQ(ComparePaths("a//b", "a/b"), 0);
    EXPECT_GT(ComparePaths("/abc", "!abc"), 0);
    // A doubled separator past the first word still counts.
    EXPECT_EQ(ComparePaths("/opt/product/lib//x", "/opt/product/lib/x"), 0);
    EXPECT_LT(ComparePaths("/opt/product/lib/a", "/opt/product/lib-a"), 0);
}

}  // namespace
}  // namespace integrity_check_tool
