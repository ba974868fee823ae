#pragma once

#include <exception>
#include <string>

#include <boost/exception/exception.hpp>
#include <boost/exception/info.hpp>
#include <boost/throw_exception.hpp>

#include "format.h"

namespace integrity_check_tool {

/// The message of the program's exceptions, shown in diagnostics.
using Description = boost::error_info<struct tag_description, std::string>;

/// The program's error type: one message, attached as Description.
class Exception : public virtual std::exception, public virtual boost::exception {
public:
    explicit Exception(const std::string& description);

    /// The message; empty only for a default-constructed derivative.
    const std::string& GetDescription() const noexcept { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }

private:
    std::string description_;
};

/// The text that describes any exception: the Description of the program's
/// own, what() of other standard ones.
std::string ExceptionMessage(const std::exception& error);

/// The message of the exception in flight (call inside a catch block):
/// ExceptionMessage for standard exceptions, "Unknown exception" otherwise.
std::string CurrentExceptionMessage();

/// Full diagnostic text of the exception in flight (call inside a catch
/// block): a framework error's display text, Boost's diagnostic information
/// with throw location and error-info lines, what() of another standard
/// exception, or "Unknown exception".
std::string DescribeCurrentException();

}  // namespace integrity_check_tool

/// Throws the program's Exception with a "%1%" message and the throw location.
#define ICT_THROW(...)                                                                             \
    BOOST_THROW_EXCEPTION(                                                                         \
        ::integrity_check_tool::Exception(::integrity_check_tool::Format(__VA_ARGS__)))
