#pragma once

#include <string>
#include <string_view>

#include "types.h"

namespace integrity_check_tool {

/// Standard base64 with "=" padding and no line breaks.
std::string Base64Encode(const Blob& bytes);

/// Decodes standard base64; "=" counts as zero bits and each trailing "="
/// drops one byte. Throws boost::archive::iterators::dataflow_exception
/// ("attempt to decode a value not in base64 char set") on other text.
Blob Base64Decode(std::string_view text);

}  // namespace integrity_check_tool
