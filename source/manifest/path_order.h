#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace integrity_check_tool {

/// Orders two paths exactly as boost::filesystem::path::compare does (element
/// by element), negative, zero or positive; never throws.
int ComparePaths(std::string_view left, std::string_view right) noexcept;

/// Paths gathered for one stable sort by ComparePaths. The shape of each is
/// examined once rather than in every comparison, and an unsorted lot is
/// copied side by side first, so that the comparisons read one compact
/// buffer rather than strings spread over the heap.
class PathSortKeys {
public:
    void Reserve(std::size_t count) { keys_.reserve(count); }
    /// Adds the next path, whose text must stay in place while the keys are used.
    void Add(std::string_view path);

    /// Sorts the paths, equal ones in the order they were added;
    /// `tieLess(a, b)` orders equal paths by the indices they were added at
    /// first, when given.
    template <class TieLess> void Sort(TieLess tieLess);
    void Sort()
    {
        Sort([](std::size_t, std::size_t) { return false; });
    }

    /// After Sort: the index that the path at `position` was added at.
    std::size_t Index(std::size_t position) const noexcept { return keys_[position].index; }
    /// After Sort: the path at `position`.
    std::string_view Path(std::size_t position) const noexcept
    {
        return std::string_view(keys_[position].data, keys_[position].size);
    }
    /// After Sort: Index of every position.
    std::vector<std::size_t> Order() const;

private:
    struct Key {
        const char* data;
        std::uint32_t size;
        std::uint32_t index : 31;
        std::uint32_t plain : 1;
    };

    void Compact();
    static int Compare(const Key& left, const Key& right) noexcept;

    std::string text_;
    std::vector<Key> keys_;
};

/// The sorted paths of the entries [first, last), which have a `path` member.
template <class Iterator, class TieLess>
PathSortKeys SortPaths(Iterator first, Iterator last, TieLess tieLess)
{
    PathSortKeys keys;
    keys.Reserve(static_cast<std::size_t>(last - first));
    for (Iterator it = first; it != last; ++it) {
        keys.Add(it->path);
    }
    keys.Sort(tieLess);
    return keys;
}

template <class TieLess> void PathSortKeys::Sort(TieLess tieLess)
{
    const auto less = [&](const Key& left, const Key& right) {
        const int order = Compare(left, right);
        return order != 0 ? order < 0 : tieLess(left.index, right.index);
    };
    // Manifests are written sorted, so the check usually spares the sort.
    if (!std::is_sorted(keys_.begin(), keys_.end(), less)) {
        Compact();
        std::stable_sort(keys_.begin(), keys_.end(), less);
    }
}

}  // namespace integrity_check_tool
