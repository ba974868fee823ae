#include <gtest/gtest.h>

#include "manifest/make_unique_visitor.h"
#include "manifest/manifest.h"
#include "support/manifest_builder.h"

namespace integrity_check_tool {
namespace {

using test::Check;
using test::File;

void Collapse(Manifest& manifest)
{
    MakeUniqueManifestVisitor visitor;
    manifest.Accept(visitor);
}

// Checks of the same type may differ only in value: those of duplicates
// pool, sorted, without repeats. A duplicate with other check types is refused.
TEST(MakeUniqueTest, DuplicatesCollapseIntoTheFirstWithChecksSortedAndRepeatsDropped)
{
    Manifest manifest;
    manifest.files = {File("/a", {Check(CheckType::Sha256, {2}), Check(CheckType::Exists),
                                  Check(CheckType::Sha256, {1, 0}), Check(CheckType::Sha256, {1}),
                                  Check(CheckType::Sha256, {2})}),
                      File("/b"),
                      File("/a", {Check(CheckType::Exists), Check(CheckType::Sha256, {9})})};
    Collapse(manifest);
    ASSERT_EQ(manifest.files.size(), 2u);
    EXPECT_EQ(manifest.files[0],
              File("/a", {Check(CheckType::Exists), Check(CheckType::Sha256, {1}),
                          Check(CheckType::Sha256, {1, 0}), Check(CheckType::Sha256, {2})}));

    manifest.directories.resize(1);
    manifest.directories[0].files = {
        File("bin/x", {Check(CheckType::Sha256)}),
        File("bin/x", {Check(CheckType::Sha256), Check(CheckType::Exists)})};
    EXPECT_EQ(test::Refusal([&] { Collapse(manifest); }), "Mismatch check types found for bin/x");
}

// A list loaded in path order is left unsorted only when equal paths carry
// their conditions out of order; a long one must still be sorted and keep
// the first of each duplicate. Entries differing in conditions both stay.
TEST(MakeUniqueTest, LongListsInPathOrderStillSortByConditions)
{
    Manifest manifest;
    std::vector<FileInfo> files;
    for (int i = 0; i < 40; ++i) {
        const std::string path = "/lib/f" + std::to_string(i);
        FileInfo arm = File(path, {Check(CheckType::Exists)});
        arm.arch = Arch::ARM64;
        FileInfo first = File(path, {Check(CheckType::Sha256, {1})});
        first.arch = Arch::X86_64;
        FileInfo second = File(path, {Check(CheckType::Sha256, {2})});
        second.arch = Arch::X86_64;
        files.insert(files.end(), {arm, first, second});
    }
    manifest.files.InsertAll(std::move(files));
    Collapse(manifest);
    ASSERT_EQ(manifest.files.size(), 80u);
    for (std::size_t i = 0; i < 80; i += 2) {
        EXPECT_EQ(manifest.files[i].arch, Arch::X86_64);
        EXPECT_EQ(manifest.files[i].checks[0]->value, Blob{1});
        EXPECT_EQ(manifest.files[i + 1].arch, Arch::ARM64);
        EXPECT_EQ(manifest.files[i + 1].path, manifest.files[i].path);
    }
}

}  // namespace
}  // namespace integrity_check_tool
