#include <gtest/gtest.h>
#include <zel/system_information.h>

namespace zel {
namespace {

TEST(SystemInformationTest, KernelReleaseGivesMajorAndMinor)
{
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    EXPECT_TRUE(ParseKernelRelease("6.1.0-13-arm64", major, minor) && major == 6 && minor == 1);
    EXPECT_TRUE(ParseKernelRelease("4.19", major, minor) && major == 4 && minor == 19);
    EXPECT_FALSE(ParseKernelRelease("6", major, minor));
    EXPECT_FALSE(ParseKernelRelease("x.1", major, minor));
}

}  // namespace
}  // namespace zel
