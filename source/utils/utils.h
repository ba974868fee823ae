#pragma once

#include <cstdint>
#include <string>

#include "types.h"

namespace integrity_check_tool {

/// The program's version text.
inline constexpr const char* kProgramVersion = "30.732.0.490-69af0b0bdf";
/// Version of the manifest schema this program reads and writes.
inline constexpr std::uint32_t kSchemaVersion = 2;

/// "Version <program version>".
std::string VersionLine();
/// "Schema version: <schema version>".
std::string SchemaLine();

/// The whole content of the file at `path`; throws zel::Exception when the
/// file cannot be opened or read.
Blob ReadWholeFile(const Path& path);

}  // namespace integrity_check_tool
