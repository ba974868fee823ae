#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <utility>
#include <vector>

namespace integrity_check_tool {

/// The permutation that sorts [first, last) stably by `less`: position i
/// takes the element at order[i]. A Less with a StableOrder(first, last) of
/// its own, for keys that are cheaper to compare once extracted, supplies it.
template <class Iterator, class Less>
std::vector<std::size_t> StableOrder(Iterator first, Iterator last, const Less& less)
{
    if constexpr (requires { less.StableOrder(first, last); }) {
        return less.StableOrder(first, last);
    } else {
        std::vector<std::size_t> order(static_cast<std::size_t>(last - first));
        for (std::size_t i = 0; i < order.size(); ++i) {
            order[i] = i;
        }
        const auto element = [first](std::size_t i) -> decltype(auto) {
            return first[static_cast<std::ptrdiff_t>(i)];
        };
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return less(element(a), element(b));
        });
        return order;
    }
}

/// Rearranges the elements from `first` so that position i takes the element
/// at order[i], moving each element at most once.
template <class Iterator> void ApplyOrder(Iterator first, std::vector<std::size_t> order)
{
    using Value = typename std::iterator_traits<Iterator>::value_type;
    const auto element = [first](std::size_t i) -> decltype(auto) {
        return first[static_cast<std::ptrdiff_t>(i)];
    };
    // Follow each cycle of the permutation once.
    for (std::size_t start = 0; start < order.size(); ++start) {
        if (order[start] == start) {
            continue;
        }
        Value held = std::move(element(start));
        std::size_t at = start;
        while (order[at] != start) {
            const std::size_t from = order[at];
            element(at) = std::move(element(from));
            order[at] = at;
            at = from;
        }
        element(at) = std::move(held);
        order[at] = at;
    }
}

/// std::stable_sort of [first, last) that moves each element at most once:
/// the order is found apart from the elements, since manifest entries are
/// large to move and a merge sort moves every element once per pass.
template <class Iterator, class Less>
void StableSortInPlace(Iterator first, Iterator last, const Less& less)
{
    if (last - first < 32) {
        std::stable_sort(first, last, less);
        return;
    }
    ApplyOrder(first, StableOrder(first, last, less));
}

/// Contiguous list kept ordered by `Less`, equal elements in insertion order.
/// Elements may be edited through iterators; whoever changes an element's key
/// calls Reorder() afterwards.
template <class T, class Less> class SortedList {
public:
    using value_type = T;
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;

    SortedList() = default;
    SortedList(std::initializer_list<T> values) { InsertAll(std::vector<T>(values)); }

    /// Inserts `value` after every element that is not greater; returns its position.
    iterator Insert(T value)
    {
        const auto at = std::upper_bound(items_.begin(), items_.end(), value, Less{});
        return items_.insert(at, std::move(value));
    }

    /// Inserts all of `values`; among equal elements the ones already present
    /// come first, then `values` in their given order.
    void InsertAll(std::vector<T> values)
    {
        const auto middle = static_cast<std::ptrdiff_t>(items_.size());
        if (items_.empty()) {
            items_ = std::move(values);
        } else {
            items_.insert(items_.end(), std::make_move_iterator(values.begin()),
                          std::make_move_iterator(values.end()));
        }
        // Manifests are written sorted, so the check usually spares the sort.
        if (!std::is_sorted(items_.begin() + middle, items_.end(), Less{})) {
            StableSortInPlace(items_.begin() + middle, items_.end(), Less{});
        }
        std::inplace_merge(items_.begin(), items_.begin() + middle, items_.end(), Less{});
    }

    /// Restores the order after keys were edited in place (stable).
    void Reorder()
    {
        if (!std::is_sorted(items_.begin(), items_.end(), Less{})) {
            StableSortInPlace(items_.begin(), items_.end(), Less{});
        }
    }

    iterator erase(const_iterator at) { return items_.erase(at); }
    iterator erase(const_iterator first, const_iterator last) { return items_.erase(first, last); }

    /// Removes every element for which `predicate` is true; returns how many.
    template <class Predicate> std::size_t EraseIf(Predicate predicate)
    {
        return std::erase_if(items_, std::move(predicate));
    }

    void clear() noexcept { items_.clear(); }
    void reserve(std::size_t count) { items_.reserve(count); }

    iterator begin() noexcept { return items_.begin(); }
    iterator end() noexcept { return items_.end(); }
    const_iterator begin() const noexcept { return items_.begin(); }
    const_iterator end() const noexcept { return items_.end(); }
    std::size_t size() const noexcept { return items_.size(); }
    bool empty() const noexcept { return items_.empty(); }
    T& operator[](std::size_t index) { return items_[index]; }
    const T& operator[](std::size_t index) const { return items_[index]; }

    /// The elements; a caller that reorders them must keep them sorted by `Less`.
    std::vector<T>& Items() noexcept { return items_; }
    const std::vector<T>& Items() const noexcept { return items_; }

    friend bool operator==(const SortedList& left, const SortedList& right)
    {
        return left.items_ == right.items_;
    }

private:
    std::vector<T> items_;
};

}  // namespace integrity_check_tool
