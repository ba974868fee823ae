#pragma once

#include <string_view>

namespace integrity_check_tool {

/// Orders two paths exactly as boost::filesystem::path::compare does (element
/// by element), negative, zero or positive; never throws.
int ComparePaths(std::string_view left, std::string_view right) noexcept;

}  // namespace integrity_check_tool
