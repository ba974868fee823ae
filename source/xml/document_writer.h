#pragma once

#include <string>

namespace integrity_check_tool {
struct Manifest;
}

namespace integrity_check_tool::xml {

/// The current dialect's document of `manifest`, indented by four blanks.
std::string PrintDocument(const Manifest& manifest);

}  // namespace integrity_check_tool::xml
