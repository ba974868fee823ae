#include <sstream>

#include <gtest/gtest.h>

#include "action/processor.h"
#include "manifest/filter.h"
#include "support/manifest_builder.h"

namespace integrity_check_tool {
namespace {

using test::File;

/// Rejects every entry restricted to an architecture.
class ArchFilter final : public IFilter {
public:
    bool IsFiltered(const Applicability& entry, std::string_view) const override
    {
        return entry.arch.has_value();
    }
};

// A filtered directory takes its files along; each one is reported and
// counted as skipped.
TEST(ProcessorTest, FilteringRemovesReportsAndCountsEachKind)
{
    Manifest manifest;
    FileInfo other = File("/other");
    other.arch = Arch::ARM32;
    manifest.files = {File("/kept"), other};
    DirectoryInfo directory;
    directory.path = "/dir";
    directory.files = {other, File("inner")};
    manifest.directories.push_back(directory);
    directory.arch = Arch::E2K64;
    manifest.directories.push_back(directory);

    std::ostringstream out;
    std::ostringstream err;
    const auto statistics = std::make_shared<Statistics>();
    Processor(nullptr, std::make_shared<Console>(true, out, err), std::make_shared<ArchFilter>(),
              statistics)
        .Filter(manifest);

    ASSERT_EQ(manifest.files.size(), 1u);
    EXPECT_EQ(manifest.files[0].path, "/kept");
    ASSERT_EQ(manifest.directories.size(), 1u);
    ASSERT_EQ(manifest.directories[0].files.size(), 1u);
    EXPECT_EQ(manifest.directories[0].files[0].path, "inner");
    EXPECT_EQ(statistics->Get(ObjectKind::File).skipped, 2u);
    EXPECT_EQ(statistics->Get(ObjectKind::Directory).skipped, 1u);
    EXPECT_EQ(out.str(),
              "file /other filtered\ndirectory /dir filtered\nfile /dir/other filtered\n");
}

}  // namespace
}  // namespace integrity_check_tool
