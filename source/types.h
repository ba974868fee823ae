#pragma once

#include <cstdint>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace integrity_check_tool {

/// Owned bytes: check values, digests, file contents.
using Blob = std::vector<std::uint8_t>;

/// Filesystem path, converted with the global locale.
using Path = boost::filesystem::path;

}  // namespace integrity_check_tool
