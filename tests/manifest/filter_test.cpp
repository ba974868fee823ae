#include <gtest/gtest.h>

#include "exception.h"
#include "manifest/filter.h"
#include "support/manifest_builder.h"
#include "system_info.h"

namespace integrity_check_tool {
namespace {

class FakeService final : public zel::ISystemInformationService {
public:
    explicit FakeService(zel::SystemInformation info) : info_(std::move(info)) {}
    zel::Result GetSystemInformation(zel::SystemInformation& info) const override
    {
        info = info_;
        return zel::kOk;
    }

private:
    zel::SystemInformation info_;
};

SystemInfo Uname(const std::string& machine, std::uint32_t major = 4, std::uint32_t minor = 19)
{
    zel::SystemInformation info;
    info.machine = machine;
    info.processorArchitecture = zel::ProcessorFromMachine(machine);
    info.majorVersion = major;
    info.minorVersion = minor;
    return SystemInfo(FakeService(info));
}

TEST(SystemInfoTest, MapsMachinesToArchitecturesAndBitness)
{
    const std::pair<const char*, Arch> cases[] = {
        {"x86_64", Arch::X86_64}, {"i686", Arch::X86},   {"ia64", Arch::IA64},
        {"armv7l", Arch::ARM32},  {"aarch64", Arch::ARM64}, {"e2k32", Arch::E2K32},
        {"e2k", Arch::E2K64}};
    for (const auto& [machine, arch] : cases) {
        const SystemInfo system = Uname(machine);
        EXPECT_EQ(system.GetOsArch(), arch) << machine;
        const bool wide = arch == Arch::X86_64 || arch == Arch::IA64 || arch == Arch::ARM64 ||
                          arch == Arch::E2K64;
        EXPECT_EQ(system.GetBitness(), wide ? Bitness::Bits64 : Bitness::Bits32) << machine;
    }
    EXPECT_EQ(Uname("aarch64", 6, 1).GetOsVersion(), 601u);
    EXPECT_EQ(Uname("aarch64").GetOs(), Os::Linux);
    EXPECT_EQ(Uname("aarch64").GetOsEdition(), OsEdition::Server);
}

TEST(SystemInfoTest, UnknownArchitectureFails)
{
    try {
        Uname("riscv64").GetBitness();
        FAIL() << "no exception";
    } catch (const Exception& error) {
        EXPECT_EQ(error.GetDescription(), "Unsupported system architecture 65535");
    }
}

class FilterTest : public ::testing::Test {
protected:
    /// The predicate that rejects `entry` on the system, or "" when it applies.
    static std::string Reason(const ISystemInfo& system, const Applicability& entry)
    {
        auto tracer = zel::MakeIntrusive<test::RecordingTracer>(1000);
        const bool filtered = Filter(system, tracer).IsFiltered(entry, "file /x");
        EXPECT_EQ(filtered, !tracer->records.empty());
        return filtered ? tracer->records.at(0) : "";
    }
};

TEST_F(FilterTest, ArchitectureAndBitnessOnX8664)
{
    const SystemInfo system = Uname("x86_64");
    EXPECT_EQ(Reason(system, {}), "");
    Applicability entry;
    entry.bitness = Bitness::Bits32;
    EXPECT_EQ(Reason(system, entry), "file /x filtered by bitness");
    entry.os = Os::Windows;
    entry.arch = Arch::X86;
    EXPECT_EQ(Reason(system, entry), "file /x filtered by arch");
}

TEST_F(FilterTest, KernelVersionIsAnExactMatchAndNtBoundsAreIgnoredOnLinux)
{
    Applicability entry;
    entry.minVersionNt = 601;
    entry.maxVersionNt = 100;
    entry.linuxKernelVersion = 419;
    EXPECT_EQ(Reason(Uname("aarch64", 4, 19), entry), "");
    EXPECT_EQ(Reason(Uname("aarch64", 5, 4), entry), "file /x filtered by linuxKernelVersion");
    EXPECT_EQ(Reason(Uname("aarch64", 4, 14), entry), "file /x filtered by linuxKernelVersion");
}

TEST_F(FilterTest, WindowsOverrideEnforcesInclusiveNtBounds)
{
    SystemOverrides overrides;
    overrides.os = Os::Windows;
    overrides.version = 601;
    const ConfiguredSystemInfo system(std::make_shared<SystemInfo>(Uname("x86_64", 5, 4)),
                                      overrides);
    EXPECT_EQ(system.GetOsArch(), Arch::X86_64);
    Applicability entry;
    entry.minVersionNt = 601;
    entry.maxVersionNt = 601;
    entry.linuxKernelVersion = 504;
    EXPECT_EQ(Reason(system, entry), "");
    entry.minVersionNt = 602;
    EXPECT_EQ(Reason(system, entry), "file /x filtered by minVersionNt");
    entry.minVersionNt.reset();
    entry.maxVersionNt = 600;
    EXPECT_EQ(Reason(system, entry), "file /x filtered by maxVersionNt");
}

}  // namespace
}  // namespace integrity_check_tool
