#pragma once

#include <string>
#include <string_view>

#include "types.h"

namespace integrity_check_tool::test {

/// A fresh directory that is removed with everything in it.
class TempDir {
public:
    enum class Access { Owner, Everyone };
    /// Made under $TMPDIR (or /tmp) for the owner alone; with
    /// Access::Everyone it is made under /tmp and every user may enter and
    /// read it, wherever $TMPDIR points.
    explicit TempDir(Access access = Access::Owner);
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const Path& path() const noexcept { return path_; }
    /// Path of `relative` inside the directory.
    Path operator/(const std::string& relative) const { return path_ / relative; }

private:
    Path path_;
};

/// Writes `content` to `path`, creating parent directories.
void WriteFile(const Path& path, std::string_view content);
/// The file's content; fails the test when it cannot be read.
std::string ReadFile(const Path& path);

}  // namespace integrity_check_tool::test
