#include <algorithm>

#include <gtest/gtest.h>

#include "manifest/manifest.h"
#include "manifest/visitor.h"
#include "support/manifest_builder.h"

namespace integrity_check_tool {
namespace {

using test::Check;
using test::File;

std::vector<std::string> Paths(const FileList& files)
{
    std::vector<std::string> paths;
    for (const FileInfo& file : files) {
        paths.push_back(file.path + (file.checks.empty() ? "" : ":" + ToName(file.checks[0]->type)));
    }
    return paths;
}

TEST(ManifestTest, FilesAreOrderedByPathWithDuplicatesInInsertionOrder)
{
    FileList files;
    files.Insert(File("/b", {Check(CheckType::Sha256)}));
    files.Insert(File("/a/z"));
    files.Insert(File("/b", {Check(CheckType::Exists)}));
    files.Insert(File("/a-b"));
    EXPECT_EQ(Paths(files), (std::vector<std::string>{"/a/z", "/a-b", "/b:Sha256", "/b:Exists"}));
}

// Long lists are sorted through an index permutation; the result must be
// what a plain stable sort gives, equal paths in insertion order.
TEST(ManifestTest, LongListsSortStablyAndMergeAfterWhatIsPresent)
{
    std::vector<FileInfo> files;
    std::vector<FileInfo> later;
    for (int i = 0; i < 500; ++i) {
        const CheckType type = i % 2 == 0 ? CheckType::Sha256 : CheckType::Exists;
        // Some with a doubled or trailing separator, which compare element-wise.
        const char* separator = i % 5 == 0 ? "//f" : "/f";
        const std::string path = "/d" + std::to_string(i * 7919 % 37) + separator +
                                 std::to_string(i % 3) + (i % 7 == 0 ? "/" : "");
        files.push_back(File(path, {Check(type)}));
        later.push_back(File(path, {Check(CheckType::Value)}));
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

TEST(ManifestTest, RegistryValuesAreOrderedByNameBytewise)
{
    RegistryValueList values;
    values.Insert(test::Value("b", RegistryType::Sz));
    values.Insert(test::Value("B", RegistryType::Sz));
    values.Insert(test::Value("\xC3", RegistryType::Sz));
    values.Insert(test::Value("a", RegistryType::Sz));
    std::vector<std::string> names;
    for (const RegistryValueInfo& value : values) {
        names.push_back(value.name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"B", "a", "b", "\xC3"}));
}

// Erases every other entry of each list it is given, and records what it saw.
class ThinningVisitor final : public IVisitor {
public:
    void VisitManifest(Manifest& manifest) override
    {
        seen.push_back("manifest");
        manifest.files.erase(manifest.files.begin());
        manifest.directories.erase(manifest.directories.begin());
    }
    void VisitFile(FileInfo& file) override { seen.push_back("file " + file.path); }
    void VisitDirectory(DirectoryInfo& directory) override
    {
        seen.push_back("directory " + directory.path);
        directory.files.EraseIf([](const FileInfo& file) { return file.path == "gone"; });
    }
    void VisitRegistryKey(RegistryKeyInfo& key) override { seen.push_back("key " + key.path); }
    void VisitRegistryValue(RegistryValueInfo& value) override
    {
        seen.push_back("value " + value.name);
    }

    std::vector<std::string> seen;
};

TEST(ManifestTest, AcceptVisitsOnlyWhatPreviousVisitsLeft)
{
    Manifest manifest;
    manifest.files = {File("/1"), File("/2")};
    manifest.directories.resize(2);
    manifest.directories[0].path = "/d0";
    manifest.directories[1].path = "/d1";
    manifest.directories[1].files = {File("gone"), File("kept")};
    manifest.registries.resize(1);
    manifest.registries[0].path = "HKLM";
    manifest.registries[0].values = {test::Value("v", RegistryType::Dword)};

    ThinningVisitor visitor;
    manifest.Accept(visitor);
    EXPECT_EQ(visitor.seen, (std::vector<std::string>{"manifest", "file /2", "directory /d1",
                                                      "file kept", "key HKLM", "value v"}));
}

TEST(ManifestTest, MergeAppendsAndKeepsFilesOrdered)
{
    Manifest first;
    first.productName = "first";
    first.files = {File("/a", {Check(CheckType::Sha256)}), File("/c")};
    first.environments.push_back({{}, "A", "1"});
    Manifest second;
    second.productName = "second";
    second.files = {File("/b"), File("/a", {Check(CheckType::Exists)})};
    second.environments.push_back({{}, "B", "2"});
    second.registries.resize(1);

    first.Merge(std::move(second));
    EXPECT_EQ(first.productName, "first");
    EXPECT_EQ(Paths(first.files), (std::vector<std::string>{"/a:Sha256", "/a:Exists", "/b", "/c"}));
    ASSERT_EQ(first.environments.size(), 2u);
    EXPECT_EQ(first.environments[1].key, "B");
    EXPECT_EQ(first.registries.size(), 1u);
}

TEST(ManifestTest, EqualityComparesChecksByValue)
{
    Manifest left;
    Manifest right;
    left.files = {File("/a", {Check(CheckType::Value, {1, 2})})};
    right.files = {File("/a", {Check(CheckType::Value, {1, 2})})};
    EXPECT_EQ(left, right);
    right.files[0].checks[0]->value = {1, 3};
    EXPECT_NE(left, right);
}

}  // namespace
}  // namespace integrity_check_tool
