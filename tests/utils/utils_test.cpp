#include "utils/utils.h"

#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>
#include <zel/exception.h>

#include "exception.h"
#include "support/temp_dir.h"
#include "utils/atomic_file.h"

namespace integrity_check_tool {
namespace {

using test::ReadFile;
using test::TempDir;
using test::WriteFile;

TEST(UtilsTest, ReadWholeFileReturnsEveryByte)
{
    TempDir dir;
    std::string content(300 * 1024 + 7, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) {
        content[i] = static_cast<char>(i * 131 % 251);
    }
    WriteFile(dir / "big", content);
    WriteFile(dir / "empty", "");
    const Blob big = ReadWholeFile(dir / "big");
    EXPECT_EQ(std::string(big.begin(), big.end()), content);
    EXPECT_TRUE(ReadWholeFile(dir / "empty").empty());
}

TEST(UtilsTest, ReadWholeFileRefusesWhatIsNotARegularFile)
{
    TempDir dir;
    ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0600), 0);
    // A FIFO without a writer must fail at once, not block.
    EXPECT_THROW(ReadWholeFile(dir / "fifo"), zel::Exception);
    EXPECT_THROW(ReadWholeFile(dir.path()), zel::Exception);
    EXPECT_THROW(ReadWholeFile(dir / "missing"), zel::Exception);
}

TEST(AtomicFileTest, CommitReplacesContentAndKeepsPermissions)
{
    TempDir dir;
    const Path target = dir / "manifest.xml";
    WriteFile(target, "old");
    ASSERT_EQ(::chmod(target.c_str(), 0640), 0);
    {
        AtomicFile file(target);
        file.Write("new ");
        file.Write("content");
        EXPECT_EQ(ReadFile(target), "old");
        file.Commit();
    }
    EXPECT_EQ(ReadFile(target), "new content");
    struct stat status {};
    ASSERT_EQ(::stat(target.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_EQ(std::distance(boost::filesystem::directory_iterator(dir.path()), {}), 1);
}

TEST(AtomicFileTest, WithoutCommitTheTargetStaysAndNothingIsLeftBehind)
{
    TempDir dir;
    const Path target = dir / "manifest.xml";
    WriteFile(target, "old");
    {
        AtomicFile file(target);
        file.Write("half written");
    }
    EXPECT_EQ(ReadFile(target), "old");
    EXPECT_EQ(std::distance(boost::filesystem::directory_iterator(dir.path()), {}), 1);
}

TEST(AtomicFileTest, UnwritableDirectoryFailsWithTheTargetNamed)
{
    TempDir dir;
    ASSERT_EQ(::chmod(dir.path().c_str(), 0500), 0);
    // Root writes into read-only directories, but not into /proc.
    const Path target = ::geteuid() == 0 ? Path("/proc/out.xml") : dir / "out.xml";
    try {
        AtomicFile file(target);
        ADD_FAILURE() << "created a file in a read-only directory";
    } catch (const Exception& error) {
        EXPECT_NE(error.GetDescription().find("out.xml"), std::string::npos);
    }
}

}  // namespace
}  // namespace integrity_check_tool
