#include <iostream>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "utils/closing_line.h"

namespace integrity_check_tool::test {
namespace {

/// Sends std::cout and std::cerr to strings while alive.
class CapturedStreams {
public:
    CapturedStreams() : out_(std::cout.rdbuf(out.rdbuf())), err_(std::cerr.rdbuf(err.rdbuf())) {}
    ~CapturedStreams()
    {
        std::cout.rdbuf(out_);
        std::cerr.rdbuf(err_);
    }
    CapturedStreams(const CapturedStreams&) = delete;
    CapturedStreams& operator=(const CapturedStreams&) = delete;

    std::ostringstream out;
    std::ostringstream err;

private:
    std::streambuf* out_;
    std::streambuf* err_;
};

// The closing line goes to the stream of its outcome, after what the body printed.
TEST(ClosingLineTest, OutcomeDecidesLineStreamAndStatus)
{
    const struct {
        const char* name;
        std::function<Outcome()> body;
        const char* out;
        const char* err;
        int status;
    } cases[] = {
        {"succeeded", [] { return Outcome::Succeeded; }, "SUCCEEDED\n", "", 0},
        {"failed", [] { return Outcome::Failed; }, "", "FAILED\n", 1},
        {"quiet",
         [] {
             std::cout << "help\n";
             return Outcome::Quiet;
         },
         "help\n", "", 0},
        {"throws",
         []() -> Outcome {
             std::cout << "partial\n";
             throw std::runtime_error("disk on fire");
         },
         "partial\n", "disk on fire\nFAILED\n", 1},
        {"throws a non-exception", []() -> Outcome { throw 42; }, "", "Unknown exception\nFAILED\n",
         1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        CapturedStreams streams;
        const int status = RunWithClosingLine(c.body);
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(streams.out.str(), c.out);
        EXPECT_EQ(streams.err.str(), c.err);
    }
}

}  // namespace
}  // namespace integrity_check_tool::test
