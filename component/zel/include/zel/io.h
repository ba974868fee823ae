#pragma once

#include <cstddef>
#include <cstdint>

#include "zel/ref_counted.h"
#include "zel/result.h"

namespace zel {

enum class SeekOrigin { Begin, Current, End };

/// Byte stream. Every operation returns a result code; a read of 0 bytes
/// with a non-negative result is the end of the stream.
class IIO : public RefCounted {
public:
    virtual Result Read(void* buffer, std::size_t size, std::size_t* bytesRead) = 0;
    virtual Result Write(const void* buffer, std::size_t size, std::size_t* bytesWritten) = 0;
    virtual Result Seek(std::int64_t offset, SeekOrigin origin, std::uint64_t* position) = 0;
    virtual Result GetSize(std::uint64_t* size) = 0;
};

using IIOPtr = intrusive_ptr<IIO>;

}  // namespace zel
