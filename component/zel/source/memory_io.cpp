#include "zel/memory_io.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace zel {

Result MemoryIO::Read(void* buffer, std::size_t size, std::size_t* bytesRead)
{
    if (bytesRead == nullptr || (buffer == nullptr && size != 0)) {
        return kInvalidArgument;
    }
    const std::size_t available = position_ < data_.size() ? data_.size() - position_ : 0;
    const std::size_t count = std::min(size, available);
    if (count != 0) {
        std::memcpy(buffer, data_.data() + position_, count);
    }
    position_ += count;
    *bytesRead = count;
    return kOk;
}

Result MemoryIO::Write(const void* buffer, std::size_t size, std::size_t* bytesWritten)
{
    if (buffer == nullptr && size != 0) {
        return kInvalidArgument;
    }
    try {
        if (position_ + size > data_.size()) {
            data_.resize(position_ + size);
        }
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    } catch (const std::length_error&) {
        return kOutOfMemory;
    }
    if (size != 0) {
        std::memcpy(data_.data() + position_, buffer, size);
    }
    position_ += size;
    if (bytesWritten != nullptr) {
        *bytesWritten = size;
    }
    return kOk;
}

Result MemoryIO::Seek(std::int64_t offset, SeekOrigin origin, std::uint64_t* position)
{
    std::int64_t base = 0;
    if (origin == SeekOrigin::Current) {
        base = static_cast<std::int64_t>(position_);
    } else if (origin == SeekOrigin::End) {
        base = static_cast<std::int64_t>(data_.size());
    }
    if ((offset < 0 && -offset > base) ||
        (offset > 0 && base > std::numeric_limits<std::int64_t>::max() - offset)) {
        return kInvalidArgument;
    }
    position_ = static_cast<std::size_t>(base + offset);
    if (position != nullptr) {
        *position = position_;
    }
    return kOk;
}

Result MemoryIO::GetSize(std::uint64_t* size)
{
    if (size == nullptr) {
        return kInvalidArgument;
    }
    *size = data_.size();
    return kOk;
}

std::vector<std::uint8_t> MemoryIO::TakeData() noexcept
{
    position_ = 0;
    return std::exchange(data_, {});
}

}  // namespace zel
