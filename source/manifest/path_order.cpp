#include "manifest/path_order.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "types.h"

namespace integrity_check_tool {

namespace {

// True when `path` holds two adjacent separators; eight pairs at a time,
// since sorting runs this on both sides of every comparison.
bool HasDoubledSeparator(std::string_view path) noexcept
{
    constexpr std::uint64_t kOnes = 0x0101010101010101u;
    constexpr std::uint64_t kSlashes = kOnes * '/';
    const char* data = path.data();
    std::size_t i = 0;
    for (; i + sizeof(std::uint64_t) < path.size(); i += sizeof(std::uint64_t)) {
        std::uint64_t first = 0;
        std::uint64_t second = 0;
        std::memcpy(&first, data + i, sizeof first);
        std::memcpy(&second, data + i + 1, sizeof second);
        // A zero byte where both bytes of a pair are separators.
        const std::uint64_t pairs = (first ^ kSlashes) | (second ^ kSlashes);
        if (((pairs - kOnes) & ~pairs & (kOnes << 7)) != 0) {
            return true;
        }
    }
    for (; i + 1 < path.size(); ++i) {
        if (data[i] == '/' && data[i + 1] == '/') {
            return true;
        }
    }
    return false;
}

// A path whose elements are exactly its slash-separated parts: no repeated
// separator (which also rules out a "//name" root) and no trailing separator
// (which iterates as an extra "." element).
bool IsPlain(std::string_view path) noexcept
{
    return !HasDoubledSeparator(path) && (path.size() <= 1 || path.back() != '/');
}

// Length of the common prefix, a word at a time: sorted neighbours share
// long prefixes.
std::size_t CommonPrefix(const char* left, const char* right, std::size_t size) noexcept
{
    std::size_t i = 0;
    if constexpr (std::endian::native == std::endian::little) {
        for (; i + sizeof(std::uint64_t) <= size; i += sizeof(std::uint64_t)) {
            std::uint64_t a = 0;
            std::uint64_t b = 0;
            std::memcpy(&a, left + i, sizeof a);
            std::memcpy(&b, right + i, sizeof b);
            if (a != b) {
                return i + static_cast<std::size_t>(std::countr_zero(a ^ b)) / 8;
            }
        }
    }
    while (i < size && left[i] == right[i]) {
        ++i;
    }
    return i;
}

// Elements compare as strings, a shorter element first; ranking the separator
// below every other byte makes the flat byte comparison agree with that.
int Rank(unsigned char byte) noexcept
{
    return byte == '/' ? 0 : byte + 1;
}

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
    // Rank is one-to-one, so only the first differing byte decides.
    const std::size_t i = CommonPrefix(left.data(), right.data(), common);
    if (i < common) {
        const int leftRank = Rank(static_cast<unsigned char>(left[i]));
        return leftRank < Rank(static_cast<unsigned char>(right[i])) ? -1 : 1;
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

void PathSortKeys::Add(std::string_view path)
{
    // Neither limit is reached by a document that fits in memory as a tree.
    if (keys_.size() >= (std::size_t{1} << 31) || path.size() > UINT32_MAX) {
        throw std::length_error("Too many or too long paths to sort");
    }
    keys_.push_back({path.data(), static_cast<std::uint32_t>(path.size()),
                     static_cast<std::uint32_t>(keys_.size()), IsPlain(path) ? 1u : 0u});
}

void PathSortKeys::Compact()
{
    std::size_t bytes = 0;
    for (const Key& key : keys_) {
        bytes += key.size;
    }
    text_.resize(bytes);
    char* at = text_.data();
    for (Key& key : keys_) {
        // An absent path has no data at all, and memcpy takes no null source.
        if (key.size != 0) {
            std::memcpy(at, key.data, key.size);
        }
        key.data = at;
        at += key.size;
    }
}

std::vector<std::size_t> PathSortKeys::Order() const
{
    std::vector<std::size_t> order(keys_.size());
    for (std::size_t i = 0; i < keys_.size(); ++i) {
        order[i] = keys_[i].index;
    }
    return order;
}

int PathSortKeys::Compare(const Key& left, const Key& right) noexcept
{
    const std::string_view leftPath(left.data, left.size);
    const std::string_view rightPath(right.data, right.size);
    if (left.plain != 0 && right.plain != 0) {
        return ComparePlain(leftPath, rightPath);
    }
    return ComparePaths(leftPath, rightPath);
}

}  // namespace integrity_check_tool
