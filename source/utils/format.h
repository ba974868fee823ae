#pragma once

#include <string>

#include <boost/format.hpp>

namespace integrity_check_tool {

/// Fills the "%1%", "%2%", ... placeholders of `format` in order.
template <class... Args>
std::string Format(const std::string& format, const Args&... args)
{
    boost::format text(format);
    text.exceptions(boost::io::no_error_bits);
    ((void)(text % args), ...);
    return text.str();
}

}  // namespace integrity_check_tool
