#include <sys/stat.h>

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

#include "support/temp_dir.h"
#include "utils/atomic_file.h"

namespace integrity_check_tool::test {
namespace {

// Until Commit() the target keeps its content; without it nothing is left
// behind. The committed file keeps the permissions of the one it replaces.
TEST(AtomicFileTest, TargetChangesOnlyOnCommitAndKeepsItsPermissions)
{
    TempDir dir;
    const Path target = dir / "manifest.xml";
    WriteFile(target, "old");
    ASSERT_EQ(::chmod(target.c_str(), 0640), 0);
    const auto entries = [&] {
        return std::distance(boost::filesystem::directory_iterator(dir.path()), {});
    };
    {
        AtomicFile file(target);
        file.Write("half written");
    }
    EXPECT_EQ(ReadFile(target), "old");
    EXPECT_EQ(entries(), 1);
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
    EXPECT_EQ(entries(), 1);
}

}  // namespace
}  // namespace integrity_check_tool::test
