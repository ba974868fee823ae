#pragma once

#include <cstdint>
#include <string>

#include <zel/io.h>

#include "types.h"

namespace integrity_check_tool {

/// Version of the manifest schema this program reads and writes.
inline constexpr std::uint32_t kSchemaVersion = 2;

/// "Version <program version>", the version the build was configured with.
std::string VersionLine();
/// "Schema version: <schema version>".
std::string SchemaLine();

/// Makes the environment's locale the global one (the classic one when
/// LANG names none installed) and has paths convert with it.
void SetUpGlobalLocale();

/// The rest of `io` up to its end, however long the size said it was (files
/// may change while read); throws zel::Exception when a read fails, and
/// with zel::kTooLarge when the stream says or turns out to hold more than
/// `limit` bytes.
Blob ReadWholeStream(zel::IIO& io, std::uint64_t limit = UINT64_MAX);

/// The whole content of the file at `path`; throws zel::Exception when the
/// file cannot be opened or read.
Blob ReadWholeFile(const Path& path);

}  // namespace integrity_check_tool
