#include "exception.h"

#include <stdexcept>

#include <gtest/gtest.h>
#include <zel/exception.h>


namespace integrity_check_tool {
namespace {

template <class Throw>
std::string Describe(Throw thrower)
{
    try {
        thrower();
    } catch (...) {
        return DescribeCurrentException();
    }
    return "nothing thrown";
}

TEST(DescribeExceptionTest, OwnExceptionShowsLocationAndDescription)
{
    const std::string text = Describe([] { ICT_THROW("Invalid name: %1%", "sha256"); });
    EXPECT_NE(text.find("Throw in function"), std::string::npos) << text;
    EXPECT_NE(text.find("exception_test.cpp"), std::string::npos) << text;
    EXPECT_NE(text.find("tag_description*] = Invalid name: sha256"), std::string::npos) << text;
}

TEST(DescribeExceptionTest, PrecedenceByKind)
{
    EXPECT_EQ(Describe([] { throw std::runtime_error("plain"); }), "plain");
    EXPECT_EQ(Describe([] { throw 42; }), "Unknown exception");
    const std::string framework = Describe([] { ZEL_CHECK(zel::ResultFromErrno(2)); });
    EXPECT_NE(framework.find("No such file or directory"), std::string::npos) << framework;
    EXPECT_NE(framework.find("exception_test.cpp:"), std::string::npos) << framework;
}

TEST(ExceptionTest, MessageOfAnyStandardException)
{
    EXPECT_EQ(ExceptionMessage(Exception("described")), "described");
    EXPECT_EQ(ExceptionMessage(std::logic_error("logic")), "logic");
}

}  // namespace
}  // namespace integrity_check_tool
