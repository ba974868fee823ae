#pragma once

#include <cstddef>
#include <string_view>

namespace integrity_check_tool::xml {

/// The deepest element nesting that the XML parser will reach on `text`,
/// found by following its tokenisation without building anything. The text
/// must be followed in memory by at least kNestingPadding zero bytes. The
/// scan stops once the depth exceeds `limit` and then returns limit + 1.
std::size_t MaxNesting(std::string_view text, std::size_t limit) noexcept;

/// Zero bytes that must follow the text handed to MaxNesting or to the parser,
/// since both may step a few bytes past the first terminator on bad input.
inline constexpr std::size_t kNestingPadding = 16;

}  // namespace integrity_check_tool::xml
