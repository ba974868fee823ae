#include "tracer.h"

#include <regex>

#include <gtest/gtest.h>

#include "exception.h"
#include "support/temp_dir.h"

namespace integrity_check_tool {
namespace {

using test::ReadFile;
using test::TempDir;

TEST(ProgramTracerTest, FileRecordsCarryThePrefixAndRespectTheLevel)
{
    TempDir dir;
    const Path log = dir / "trace.log";
    {
        const zel::ITracerPtr tracer = Tracer::Create(zel::ServiceLocator(), 700, log);
        tracer->Write(700, "Version x");
        tracer->Write(800, "hidden");
    }
    const std::string text = ReadFile(log);
    EXPECT_TRUE(std::regex_match(text, std::regex(R"(\d\d:\d\d:\d\d\.\d{3} \d+ 700 Version x\n)")))
        << text;
}

TEST(ProgramTracerTest, ExistingNonFilePathIsRefused)
{
    TempDir dir;
    try {
        Tracer::Create(zel::ServiceLocator(), 800, dir.path());
        ADD_FAILURE() << "a directory was accepted as trace file";
    } catch (const Exception& error) {
        EXPECT_EQ(error.GetDescription(), "Trace path " + dir.path().string() + " is not a file");
    }
}

}  // namespace
}  // namespace integrity_check_tool
