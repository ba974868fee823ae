#include <gtest/gtest.h>
#include <zel/system_information.h>

namespace zel {
namespace {

TEST(SystemInformationTest, MachineNamesMapToProcessorCodes)
{
    EXPECT_EQ(ProcessorFromMachine("x86_64"), kProcessorAmd64);
    EXPECT_EQ(ProcessorFromMachine("i686"), kProcessorX86);
    EXPECT_EQ(ProcessorFromMachine("aarch64"), kProcessorArm64);
    EXPECT_EQ(ProcessorFromMachine("armv7l"), kProcessorArm);
    EXPECT_EQ(ProcessorFromMachine("ia64"), kProcessorIa64);
    EXPECT_EQ(ProcessorFromMachine("e2k"), kProcessorE2k64);
    EXPECT_EQ(ProcessorFromMachine("riscv64"), kProcessorUnknown);
}

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

TEST(SystemInformationTest, RunningSystemIsKnown)
{
    SystemInformation info;
    ASSERT_EQ(CreateSystemInformationService()->GetSystemInformation(info), kOk);
    EXPECT_NE(info.processorArchitecture, kProcessorUnknown) << info.machine;
    EXPECT_GT(info.majorVersion, 0u);
}

}  // namespace
}  // namespace zel
