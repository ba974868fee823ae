#pragma once

#include <string>
#include <string_view>

namespace integrity_check_tool {

/// Whether `bytes` is valid UTF-8 as it is.
bool IsValidUtf8(std::string_view bytes);

/// `bytes` with every byte that is not part of valid UTF-8 replaced by U+FFFD.
std::string ValidUtf8(std::string_view bytes);

/// A JSON string literal (with quotes) of UTF-8 `text`: quotes, backslashes
/// and control characters escaped, invalid bytes replaced by U+FFFD.
std::string JsonString(std::string_view text);
/// Appends JsonString(text) to `json`.
void AppendJsonString(std::string& json, std::string_view text);

}  // namespace integrity_check_tool
