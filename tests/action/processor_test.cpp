#include "action/processor.h"

#include <sstream>

#include <gtest/gtest.h>

#include "check/verification_mismatch.h"
#include "manifest/filter.h"
#include "support/manifest_builder.h"

namespace integrity_check_tool {
namespace {

using test::File;
using test::Value;

/// Rejects every entry restricted to an architecture.
class ArchFilter final : public IFilter {
public:
    bool IsFiltered(const Applicability& entry, std::string_view) const override { return entry.arch.has_value(); }
};

class ProcessorTest : public ::testing::Test {
protected:
    Processor MakeProcessor(IFilterPtr filter) const
    {
        return Processor(nullptr, console_, std::move(filter), statistics_);
    }

    std::string Summary() const
    {
        std::ostringstream out;
        std::ostringstream err;
        Console console(false, out, err);
        statistics_->WriteSummary(console);
        return out.str();
    }

    std::ostringstream out_;
    std::ostringstream err_;
    IConsolePtr console_ = std::make_shared<Console>(true, out_, err_);
    std::shared_ptr<Statistics> statistics_ = std::make_shared<Statistics>();
};

TEST_F(ProcessorTest, FailuresAreReportedCountedAndDoNotStopTheRun)
{
    Processor processor = MakeProcessor(nullptr);
    EXPECT_FALSE(processor.ProcessFile("/a", [] { throw check::VerificationMismatch(CheckType::Exists, "gone"); }));
    EXPECT_TRUE(processor.ProcessFile("/b", [] {}));
    EXPECT_FALSE(processor.ProcessDirectory("/d", {}));
    EXPECT_FALSE(processor.ProcessRegistryValue("v", [] { throw 1; }));
    EXPECT_EQ(err_.str(), "file /a failed. Reason: Verification mismatch with 'Exists' checker. Reason: gone\n"
                          "directory /d failed. Reason: bad_function_call\n"
                          "registry value v failed. Reason: Unknown exception\n");
    EXPECT_EQ(out_.str(), "file /b succeeded\n");
    EXPECT_EQ(statistics_->Get(ObjectKind::File).failed, 1u);
    EXPECT_EQ(statistics_->Get(ObjectKind::File).succeeded, 1u);
    EXPECT_EQ(statistics_->Get(ObjectKind::Directory).failed, 1u);
    EXPECT_EQ(statistics_->Get(ObjectKind::RegistryValue).failed, 1u);
}

TEST_F(ProcessorTest, SummaryOfAnEmptyRun)
{
    EXPECT_EQ(Summary(), "===============================================>\n"
                         "Summary( failed / skipped / succeeded ):\n"
                         "\tManifests: 0 / 0 / 0\n"
                         "\tFiles: 0 / 0 / 0\n"
                         "\tDirectories: 0 / 0 / 0\n"
                         "\tRegistries: 0 / 0 / 0\n"
                         "\tRegistry values: 0 / 0 / 0\n");
    EXPECT_THROW(statistics_->AddFailed(static_cast<ObjectKind>(5)), std::out_of_range);
}

TEST_F(ProcessorTest, FilteringRemovesAndCountsEachKind)
{
    Manifest manifest;
    FileInfo kept = File("/kept");
    FileInfo other = File("/other");
    other.arch = Arch::ARM32;
    manifest.files.Insert(kept);
    manifest.files.Insert(other);
    DirectoryInfo directory;
    directory.path = "/dir";
    directory.files.Insert(other);
    directory.files.Insert(File("inner"));
    manifest.directories.push_back(directory);
    DirectoryInfo foreign = directory;
    foreign.arch = Arch::E2K64;
    manifest.directories.push_back(foreign);
    RegistryKeyInfo key;
    key.path = "HKLM\\A";
    RegistryValueInfo value = Value("v", RegistryType::Sz);
    value.arch = Arch::X86;
    key.values.Insert(value);
    manifest.registries.push_back(key);

    MakeProcessor(std::make_shared<ArchFilter>()).Filter(manifest);

    ASSERT_EQ(manifest.files.size(), 1u);
    EXPECT_EQ(manifest.files[0].path, "/kept");
    ASSERT_EQ(manifest.directories.size(), 1u);
    ASSERT_EQ(manifest.directories[0].files.size(), 1u);
    EXPECT_EQ(manifest.directories[0].files[0].path, "inner");
    EXPECT_TRUE(manifest.registries.at(0).values.empty());
    EXPECT_EQ(statistics_->Get(ObjectKind::File).skipped, 2u);
    EXPECT_EQ(statistics_->Get(ObjectKind::Directory).skipped, 1u);
    EXPECT_EQ(statistics_->Get(ObjectKind::RegistryValue).skipped, 1u);
    EXPECT_EQ(out_.str(), "file /other filtered\ndirectory /dir filtered\nfile /dir/other filtered\n"
                          "registry value v filtered\n");
}

TEST_F(ProcessorTest, WithoutFilterNothingIsRemoved)
{
    Manifest manifest;
    FileInfo file = File("/x");
    file.arch = Arch::X86;
    manifest.files.Insert(file);
    MakeProcessor(nullptr).Filter(manifest);
    EXPECT_EQ(manifest.files.size(), 1u);
    EXPECT_EQ(statistics_->Get(ObjectKind::File).skipped, 0u);
}

}  // namespace
}  // namespace integrity_check_tool
