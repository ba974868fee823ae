#pragma once

#include <cstdint>
#include <string>

#include <zel/io.h>
#include <zel/ref_counted.h>

namespace updater {

/// A directory of named containers, opened for reading.
class IStorage : public zel::RefCounted {
public:
    /// Opens container `name`; a zlib- or gzip-compressed container is
    /// inflated and read as its plain content. Returns the system error
    /// (or zel::kTooLarge when the file or its inflated content exceeds
    /// kMaxContainerSize) and leaves `io` empty.
    virtual zel::Result OpenContainer(const std::string& name, zel::IIOPtr& io) = 0;
};
using IStoragePtr = zel::intrusive_ptr<IStorage>;

/// Containers are read into memory and a real one is kilobytes: a file or
/// an inflated content of more than this many bytes is refused.
inline constexpr std::uint64_t kMaxContainerSize = 16ULL * 1024 * 1024;

/// Opens `directory` as a storage; fails with the system error when it is
/// not a readable directory.
zel::Result OpenStorage(const std::string& directory, IStoragePtr& storage);

}  // namespace updater
