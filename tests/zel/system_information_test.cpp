#include <gtest/gtest.h>
#include <zel/system_information.h>

namespace zel {
namespace {

TEST(SystemInformationTest, KernelReleaseGivesMajorAndMinor)
{
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    EXPECT_TRUE(ParseKernelRelease("6.1.0-13-arm64", major, minor));
    EXPECT_EQ(major, 6u);
    EXPECT_EQ(minor, 1u);
    EXPECT_TRUE(ParseKernelRelease("4.19", major, minor));
    EXPECT_EQ(minor, 19u);
    EXPECT_FALSE(ParseKernelRelease("6", major, minor));
    EXPECT_FALSE(ParseKernelRelease("x.1", major, minor));
}

}  // namespace
}  // namespace zel
