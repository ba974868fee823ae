#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string_view>
#include <vector>

#include <zel/io.h>

#include "types.h"

// Inputs and streams shared by the hashing tests.

namespace integrity_check_tool::test {

/// Bytes from hexadecimal text.
inline Blob Hex(std::string_view text)
{
    Blob bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        bytes.push_back(
            static_cast<std::uint8_t>(std::stoi(std::string(text.substr(i, 2)), nullptr, 16)));
    }
    return bytes;
}

/// `size` bytes where byte i is i mod 256.
inline Blob Pattern(std::size_t size)
{
    Blob bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i);
    }
    return bytes;
}

inline Blob Repeat(std::uint8_t value, std::size_t size)
{
    return Blob(size, value);
}

inline Blob RandomBytes(std::mt19937& random, std::size_t size)
{
    std::uniform_int_distribution<int> byte(0, 255);
    Blob bytes(size);
    std::generate(bytes.begin(), bytes.end(),
                  [&] { return static_cast<std::uint8_t>(byte(random)); });
    return bytes;
}

/// A read-only stream over `data` that answers the n-th read with at most
/// chunkSizes[n mod size] bytes, and once the data is exhausted returns
/// `endResult` (a read of 0 bytes when that is not a failure). It records
/// the size of every request.
class ScriptedIO final : public zel::IIO {
public:
    ScriptedIO(Blob data, std::vector<std::size_t> chunkSizes, zel::Result endResult = zel::kOk)
        : data_(std::move(data)), chunkSizes_(std::move(chunkSizes)), endResult_(endResult)
    {
    }

    zel::Result Read(void* buffer, std::size_t size, std::size_t* bytesRead) override
    {
        requests_.push_back(size);
        *bytesRead = 0;
        if (position_ == data_.size()) {
            return zel::Failed(endResult_) ? endResult_ : zel::kOk;
        }
        const std::size_t chunk = chunkSizes_[(requests_.size() - 1) % chunkSizes_.size()];
        const std::size_t count = std::min({size, chunk, data_.size() - position_});
        std::memcpy(buffer, data_.data() + position_, count);
        position_ += count;
        *bytesRead = count;
        return zel::kOk;
    }
    zel::Result Write(const void*, std::size_t, std::size_t*) override
    {
        return zel::kNotImplemented;
    }
    zel::Result Seek(std::int64_t, zel::SeekOrigin, std::uint64_t*) override
    {
        return zel::kNotImplemented;
    }
    zel::Result GetSize(std::uint64_t* size) override
    {
        *size = data_.size();
        return zel::kOk;
    }

    const std::vector<std::size_t>& Requests() const noexcept { return requests_; }

private:
    Blob data_;
    std::vector<std::size_t> chunkSizes_;
    zel::Result endResult_;
    std::size_t position_ = 0;
    std::vector<std::size_t> requests_;
};

/// A stream over `data` whose reads return random sizes from 1 to 4096.
inline zel::intrusive_ptr<ScriptedIO> ShortReadStream(Blob data, std::mt19937& random)
{
    std::uniform_int_distribution<std::size_t> size(1, 4096);
    std::vector<std::size_t> chunks(64);
    std::generate(chunks.begin(), chunks.end(), [&] { return size(random); });
    return zel::MakeIntrusive<ScriptedIO>(std::move(data), std::move(chunks));
}

/// A stream that delivers `data` in full reads and then fails with `error`.
inline zel::intrusive_ptr<ScriptedIO> FailingStream(Blob data, zel::Result error)
{
    return zel::MakeIntrusive<ScriptedIO>(std::move(data), std::vector<std::size_t>{4096}, error);
}

}  // namespace integrity_check_tool::test
