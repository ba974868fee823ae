#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "zel/io.h"

namespace zel {

/// Stream over an owned byte buffer; writes grow the buffer.
class MemoryIO final : public IIO {
public:
    MemoryIO() = default;
    explicit MemoryIO(std::vector<std::uint8_t> data) : data_(std::move(data)) {}

    Result Read(void* buffer, std::size_t size, std::size_t* bytesRead) override;
    Result Write(const void* buffer, std::size_t size, std::size_t* bytesWritten) override;
    Result Seek(std::int64_t offset, SeekOrigin origin, std::uint64_t* position) override;
    Result GetSize(std::uint64_t* size) override;

    const std::vector<std::uint8_t>& Data() const noexcept { return data_; }
    /// Hands the buffer over and leaves the stream empty.
    std::vector<std::uint8_t> TakeData() noexcept;

private:
    std::vector<std::uint8_t> data_;
    std::size_t position_ = 0;
};

}  // namespace zel
