#pragma once

#include <cstdint>

#include "types.h"

namespace integrity_check_tool::sign {

/// The content of the regular file at `path` (symbolic links followed);
/// throws Exception for anything else (FIFOs and devices are never opened),
/// for a file above `limit` bytes and when it can't be read.
Blob ReadRegularFile(const Path& path, std::uint64_t limit);

}  // namespace integrity_check_tool::sign
