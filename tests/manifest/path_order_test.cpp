#include <algorithm>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "manifest/manifest.h"
#include "manifest/path_order.h"
#include "support/manifest_builder.h"
#include "types.h"

namespace integrity_check_tool {
namespace {

int Sign(int value)
{
    return value < 0 ? -1 : (value > 0 ? 1 : 0);
}

// Random pairs sharing a prefix of random length: short ones mix separators,
// dots and bytes on both sides of '/'; long ones put the first difference and
// the doubled separators at every offset within and across eight-byte words.
TEST(PathOrderTest, AgreesWithFilesystemPathComparison)
{
    struct Shape {
        std::string alphabet;
        std::size_t maxPrefix;
        std::size_t maxTail;
    };
    std::mt19937 random(12345);
    for (const Shape& shape : {Shape{"//a.!-0\xC3", 0, 7}, Shape{"///ab.-\xC3", 40, 10}}) {
        std::uniform_int_distribution<std::size_t> pick(0, shape.alphabet.size() - 1);
        const auto make = [&](std::size_t most) {
            std::string path(std::uniform_int_distribution<std::size_t>(0, most)(random), ' ');
            for (char& c : path) {
                c = shape.alphabet[pick(random)];
            }
            return path;
        };
        for (int i = 0; i < 20000; ++i) {
            const std::string prefix = make(shape.maxPrefix);
            const std::string left = prefix + make(shape.maxTail);
            const std::string right = prefix + make(shape.maxTail);
            ASSERT_EQ(ComparePaths(left, right), Sign(Path(left).compare(Path(right))))
                << '"' << left << "\" vs \"" << right << '"';
        }
    }
}

// Long lists are sorted through an index permutation; the result must be
// what a plain stable sort gives, equal paths in insertion order.
TEST(PathOrderTest, LongFileListsSortStablyAndMergeAfterWhatIsPresent)
{
    std::vector<FileInfo> files;
    std::vector<FileInfo> later;
    for (int i = 0; i < 500; ++i) {
        const CheckType type = i % 2 == 0 ? CheckType::Sha256 : CheckType::Exists;
        // Some with a doubled or trailing separator, which compare element-wise.
        const char* separator = i % 5 == 0 ? "//f" : "/f";
        const std::string path = "/d" + std::to_string(i * 7919 % 37) + separator +
                                 std::to_string(i % 3) + (i % 7 == 0 ? "/" : "");
        files.push_back(test::File(path, {test::Check(type)}));
        later.push_back(test::File(path, {test::Check(CheckType::Value)}));
    }
    FileList list;
    list.InsertAll(files);
    std::stable_sort(files.begin(), files.end(), FilePathLess{});
    EXPECT_EQ(list.Items(), files);

    list.InsertAll(later);
    std::vector<FileInfo> all = files;
    all.insert(all.end(), later.begin(), later.end());
    std::stable_sort(all.begin(), all.end(), FilePathLess{});
    EXPECT_EQ(list.Items(), all);

    std::reverse(list.Items().begin(), list.Items().end());
    std::reverse(all.begin(), all.end());
    std::stable_sort(all.begin(), all.end(), FilePathLess{});
    list.Reorder();
    EXPECT_EQ(list.Items(), all);
}

}  // namespace
}  // namespace integrity_check_tool
