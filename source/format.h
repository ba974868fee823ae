#pragma once

#include <locale>
#include <string>

#include <boost/format.hpp>

namespace integrity_check_tool {

/// Fills the "%1%", "%2%", ... placeholders of `format` in order.
template <class... Args> std::string Format(const std::string& format, const Args&... args)
{
    boost::format text(format);
    text.exceptions(boost::io::no_error_bits);
    ((void)(text % args), ...);
    return text.str();
}

/// Fills the narrowing cache of the global locale's ctype facet, which the
/// format parser otherwise fills lazily: two threads formatting for the first
/// time would both write it. Call before starting threads that may format.
inline void PrepareFormatForThreads()
{
    char from[256];
    char to[256];
    for (int i = 0; i < 256; ++i) {
        from[i] = static_cast<char>(i);
    }
    std::use_facet<std::ctype<char>>(std::locale()).narrow(from, from + 256, '\0', to);
}

}  // namespace integrity_check_tool
