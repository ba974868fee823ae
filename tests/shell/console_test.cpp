#include "console.h"

#include <sstream>

#include <gtest/gtest.h>

namespace integrity_check_tool {
namespace {

TEST(ConsoleTest, LevelsPickTheStream)
{
    for (bool verbose : {false, true}) {
        std::ostringstream out;
        std::ostringstream err;
        Console console(verbose, out, err);
        console.Write(kConsoleResult, "result\n");
        console.Write(kConsoleFailure, "failure\n");
        console.Write(kConsoleDetail, "detail\n");
        console.Write(3, "dropped\n");
        console.Write(1000, "dropped\n");
        EXPECT_EQ(out.str(), verbose ? "result\ndetail\n" : "result\n");
        EXPECT_EQ(err.str(), "failure\n");
    }
}

TEST(ConsoleTest, TextIsWrittenUnchanged)
{
    std::ostringstream out;
    std::ostringstream err;
    Console console(false, out, err);
    console.Write(kConsoleResult, "no line end");
    console.Write(kConsoleResult, "");
    EXPECT_EQ(out.str(), "no line end");
}

}  // namespace
}  // namespace integrity_check_tool
