#pragma once

#include <atomic>
#include <memory>

#include <zel/io.h>

#include "types.h"

namespace integrity_check_tool {

/// A digest algorithm over a byte stream. Implementations keep no state
/// between calls, so one instance may serve several threads at once.
class IHash {
public:
    virtual ~IHash() = default;

    /// Reads `io` from its current position to its end (without rewinding it
    /// before or after) and returns the raw digest bytes. Throws the
    /// program's Exception when the stream reports a failure.
    virtual Blob CalculateHash(const zel::intrusive_ptr<zel::IIO>& io) const = 0;
};

using IHashPtr = std::shared_ptr<const IHash>;

/// The process-wide instance of T while anyone holds it, otherwise a new
/// one. Only a weak reference is kept, so an unused instance is destroyed;
/// two threads racing on an empty cache may each create one, which is
/// harmless because the instances are immutable.
template <class T> std::shared_ptr<const T> SharedInstance()
{
    static std::atomic<std::weak_ptr<const T>> cache;
    if (auto alive = cache.load().lock()) {
        return alive;
    }
    auto created = std::make_shared<const T>();
    cache.store(created);
    return created;
}

}  // namespace integrity_check_tool
