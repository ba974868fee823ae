#include <gtest/gtest.h>

#include "manifest/filter.h"
#include "support/manifest_builder.h"
#include "support/recording_tracer.h"
#include "system_info.h"

namespace integrity_check_tool {
namespace {

/// A system that reports `machine` and kernel `major`.`minor`.
SystemInfo Uname(const std::string& machine, std::uint32_t major = 4, std::uint32_t minor = 19)
{
    struct Service final : zel::ISystemInformationService {
        zel::SystemInformation info;
        zel::Result GetSystemInformation(zel::SystemInformation& out) const override
        {
            out = info;
            return zel::kOk;
        }
    } service;
    service.info.machine = machine;
    service.info.processorArchitecture = zel::ProcessorFromMachine(machine);
    service.info.majorVersion = major;
    service.info.minorVersion = minor;
    return SystemInfo(service);
}

TEST(FilterTest, TheFirstRejectingConditionIsTraced)
{
    EXPECT_EQ(test::Refusal([] { Uname("riscv64").GetBitness(); }),
              "Unsupported system architecture 65535");
    const SystemInfo linux419 = Uname("x86_64");
    const SystemInfo linux504 = Uname("x86_64", 5, 4);
    const SystemInfo linux414 = Uname("x86_64", 4, 14);
    SystemOverrides overrides;
    overrides.os = Os::Windows;
    overrides.version = 601;
    const ConfiguredSystemInfo windows(std::make_shared<SystemInfo>(linux504), overrides);
    EXPECT_EQ(windows.GetOsArch(), Arch::X86_64);

    struct Case {
        const ISystemInfo& system;
        void (*condition)(Applicability&);
        const char* rejectedBy;
    };
    // The kernel version is an exact match; NT bounds apply to Windows only, inclusively.
    const Case cases[] = {
        {linux419, [](Applicability&) {}, nullptr},
        {linux419, [](Applicability& e) { e.bitness = Bitness::Bits32; }, "bitness"},
        {linux419,
         [](Applicability& e) {
             e.bitness = Bitness::Bits32;
             e.arch = Arch::X86;
         },
         "arch"},
        {linux419,
         [](Applicability& e) {
             e.minVersionNt = 601;
             e.maxVersionNt = 100;
         },
         nullptr},
        {linux419, [](Applicability& e) { e.linuxKernelVersion = 419; }, nullptr},
        {linux504, [](Applicability& e) { e.linuxKernelVersion = 419; }, "linuxKernelVersion"},
        {linux414, [](Applicability& e) { e.linuxKernelVersion = 419; }, "linuxKernelVersion"},
        {windows, [](Applicability& e) { e.minVersionNt = e.maxVersionNt = 601; }, nullptr},
        {windows, [](Applicability& e) { e.linuxKernelVersion = 419; }, nullptr},
        {windows, [](Applicability& e) { e.minVersionNt = 602; }, "minVersionNt"},
        {windows, [](Applicability& e) { e.maxVersionNt = 600; }, "maxVersionNt"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        Applicability entry;
        cases[i].condition(entry);
        auto tracer = zel::MakeIntrusive<test::RecordingTracer>(1000);
        EXPECT_EQ(Filter(cases[i].system, tracer).IsFiltered(entry, "file /x"),
                  cases[i].rejectedBy != nullptr);
        const std::string reason = cases[i].rejectedBy ? cases[i].rejectedBy : "";
        EXPECT_EQ(tracer->records, reason.empty() ? std::vector<std::string>{}
                                                  : std::vector{"file /x filtered by " + reason});
    }
}

}  // namespace
}  // namespace integrity_check_tool
