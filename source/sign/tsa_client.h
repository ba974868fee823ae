#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "types.h"

namespace integrity_check_tool::sign {

/// The largest reply taken from a time-stamping authority.
inline constexpr std::size_t kMaxTsaReplySize = 1024 * 1024;

/// POSTs the DER TimeStampReq `query` to the time-stamping authority at
/// `url` (http or https, 10 s to connect, 30 s in all) and returns the body
/// of its answer. Throws Exception when it can't be reached, answers with
/// an HTTP status other than 200 or a Content-Type other than
/// application/timestamp-reply, or sends no body or one above
/// kMaxTsaReplySize bytes.
Blob PostTimestampQuery(const std::string& url, std::span<const std::uint8_t> query);

}  // namespace integrity_check_tool::sign
