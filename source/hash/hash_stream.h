#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include <boost/exception/info.hpp>
#include <zel/io.h>

namespace integrity_check_tool {

/// Size of every read that hashing asks of a stream.
inline constexpr std::size_t kHashReadSize = 4096;

/// The stream's result code, attached to exceptions about a failed read.
using StreamResult = boost::error_info<struct tag_stream_result, zel::Result>;

/// Reads `io` from its current position to its end in kHashReadSize
/// requests into one buffer and passes each non-empty read to `consume`. A
/// short read is not the end: only a read of 0 bytes is. Returns zel::kOk at
/// the end, or the first negative result of the stream (nothing more is read
/// then).
zel::Result ReadForHashing(zel::IIO& io,
                           const std::function<void(std::span<const std::uint8_t>)>& consume);

}  // namespace integrity_check_tool
