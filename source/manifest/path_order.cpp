#include "manifest/path_order.h"

#include "types.h"

namespace integrity_check_tool {

namespace {

// A path whose elements are exactly its slash-separated parts: no repeated
// separator (which also rules out a "//name" root) and no trailing separator
// (which iterates as an extra "." element).
bool IsPlain(std::string_view path) noexcept
{
    if (path.find("//") != std::string_view::npos) {
        return false;
    }
    return path.size() <= 1 || path.back() != '/';
}

// Elements compare as strings, a shorter element first; ranking the separator
// below every other byte makes the flat byte comparison agree with that.
int Rank(unsigned char byte) noexcept { return byte == '/' ? 0 : byte + 1; }

int ComparePlain(std::string_view left, std::string_view right) noexcept
{
    const bool leftRooted = !left.empty() && left.front() == '/';
    const bool rightRooted = !right.empty() && right.front() == '/';
    if (leftRooted != rightRooted) {
        // The root directory is the element "/", compared as text with the
        // other path's first element, which holds no slash.
        if (left.empty() || right.empty()) {
            return left.empty() ? -1 : 1;
        }
        return static_cast<unsigned char>(left.front()) < static_cast<unsigned char>(right.front())
                   ? -1
                   : 1;
    }
    const std::size_t common = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < common; ++i) {
        const int difference = Rank(static_cast<unsigned char>(left[i])) -
                               Rank(static_cast<unsigned char>(right[i]));
        if (difference != 0) {
            return difference < 0 ? -1 : 1;
        }
    }
    if (left.size() == right.size()) {
        return 0;
    }
    return left.size() < right.size() ? -1 : 1;
}

}  // namespace

int ComparePaths(std::string_view left, std::string_view right) noexcept
{
    if (IsPlain(left) && IsPlain(right)) {
        return ComparePlain(left, right);
    }
    const int result = Path(std::string(left)).compare(Path(std::string(right)));
    return result < 0 ? -1 : (result > 0 ? 1 : 0);
}

}  // namespace integrity_check_tool
