#pragma once

#include <functional>
#include <string>

#include <zel/tracer.h>

#include "types.h"

namespace integrity_check_tool {

/// Walks a directory tree on disk and reports the files in it.
///
/// The walk is recursive. Regular files and symbolic links to regular files
/// are reported by their path relative to the root, with "/" separators.
/// Symbolic links to directories are not followed, and special files
/// (FIFOs, sockets, devices) and broken links are left out, since none of
/// them has content a manifest could pin down.
class DirectoryEnumerator : private zel::TracerProvider {
public:
    explicit DirectoryEnumerator(zel::ITracerPtr tracer) : zel::TracerProvider(std::move(tracer)) {}

    /// Calls `onFile` for each file under `root`; throws Exception
    /// "Can't read or access file %1%. Reason: %2%" when the walk fails.
    void Enumerate(const Path& root, const std::function<void(const std::string&)>& onFile) const;
};

}  // namespace integrity_check_tool
