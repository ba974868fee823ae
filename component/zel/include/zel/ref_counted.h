#pragma once

#include <atomic>
#include <cstddef>

#include <boost/intrusive_ptr.hpp>

namespace zel {

template <class T> using intrusive_ptr = boost::intrusive_ptr<T>;

/// Base of reference-counted framework objects; the count is atomic so that
/// objects may be shared between threads.
class RefCounted {
public:
    RefCounted(const RefCounted&) = delete;
    RefCounted& operator=(const RefCounted&) = delete;

protected:
    RefCounted() = default;
    virtual ~RefCounted() = default;

private:
    friend void intrusive_ptr_add_ref(const RefCounted* object) noexcept
    {
        object->count_.fetch_add(1, std::memory_order_relaxed);
    }
    friend void intrusive_ptr_release(const RefCounted* object) noexcept
    {
        if (object->count_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete object;
        }
    }

    mutable std::atomic<std::size_t> count_{0};
};

/// Creates a reference-counted object and returns the first reference.
template <class T, class... Args> intrusive_ptr<T> MakeIntrusive(Args&&... args)
{
    return intrusive_ptr<T>(new T(std::forward<Args>(args)...));
}

}  // namespace zel
