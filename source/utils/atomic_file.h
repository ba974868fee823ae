#pragma once

#include <sys/types.h>

#include <optional>
#include <string_view>

#include <zel/file_io.h>

#include "types.h"

namespace integrity_check_tool {

/// Writes a file so that readers see either the old or the complete new
/// content: data goes to a temporary file beside the target, which Commit()
/// syncs and renames into place. Without Commit() the temporary file is
/// removed and the target stays untouched.
class AtomicFile {
public:
    /// Creates the temporary file; throws Exception when it cannot.
    explicit AtomicFile(Path target);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// The stream that receives the new content.
    const zel::IIOPtr& Stream() const noexcept { return stream_; }
    /// Gives the committed file `mode` (0600 for a secret, say) instead of
    /// the replaced file's or the usual permissions.
    void SetMode(mode_t mode) noexcept { mode_ = mode; }
    /// Appends bytes to the new content; throws Exception on failure.
    void Write(std::string_view bytes);
    /// Makes the new content the target's; throws Exception on failure.
    void Commit();

private:
    Path target_;
    Path temporary_;
    zel::IIOPtr stream_;
    std::optional<mode_t> mode_;
    bool committed_ = false;
};

}  // namespace integrity_check_tool
