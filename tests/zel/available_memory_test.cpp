#include <gtest/gtest.h>
#include <zel/available_memory.h>

#include "support/temp_dir.h"

namespace zel {
namespace {

using integrity_check_tool::test::TempDir;
using integrity_check_tool::test::WriteFile;

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;

TEST(AvailableMemoryTest, SystemMemoryIsLoweredToTheTightestGroupLimit)
{
    TempDir dir;
    const std::string proc = (dir / "proc").string();
    const std::string cgroup = (dir / "cgroup").string();
    WriteFile(
        dir / "proc/meminfo",
        "MemTotal:       16777216 kB\nMemAvailable:    8388608 kB\nSwapFree:        1048576 kB\n");

    // No control group file: memory and swap.
    EXPECT_EQ(AvailableMemory(proc, cgroup), 9 * kGiB);

    // Unified hierarchy: the parent's limit binds, "max" does not.
    WriteFile(dir / "proc/self/cgroup", "0::/a/b\n");
    WriteFile(dir / "cgroup/a/memory.max", "2147483648\n");
    WriteFile(dir / "cgroup/a/b/memory.max", "max\n");
    EXPECT_EQ(AvailableMemory(proc, cgroup), 2 * kGiB);

    // The older hierarchy, whose "no limit" is a huge number.
    WriteFile(dir / "proc/self/cgroup", "4:memory:/x\n1:cpu:/\n0::/\n");
    WriteFile(dir / "cgroup/memory/x/memory.limit_in_bytes", "9223372036854771712\n");
    EXPECT_EQ(AvailableMemory(proc, cgroup), 9 * kGiB);
    WriteFile(dir / "cgroup/memory/memory.limit_in_bytes", "1073741824\n");
    EXPECT_EQ(AvailableMemory(proc, cgroup), kGiB);

    // A kernel that does not tell leaves the question open.
    WriteFile(dir / "proc/meminfo", "MemTotal:       16777216 kB\n");
    EXPECT_EQ(AvailableMemory(proc, cgroup), std::nullopt);
    EXPECT_TRUE(FitsInMemory(kMemoryCheckThreshold - 1));
}

}  // namespace
}  // namespace zel
