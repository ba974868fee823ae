#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "zel/block_reader.h"
#include "zel/io.h"

namespace zel {

enum class OpenMode {
    Read,          ///< existing regular file, read only
    CreateAlways,  ///< create or truncate, write only
};

/// File stream over a POSIX descriptor. Opening for reading refuses
/// anything but a regular file without blocking on FIFOs or devices, and
/// files of kernel pseudo file systems (kPseudoFile); reads ahead in large
/// blocks so that small reads cost no system call. Reading never yields more
/// than the size at opening: a file that grew fails with kChangedWhileRead.
class FileIO final : public IIO {
public:
    static constexpr std::size_t kDefaultReadAhead = 256 * 1024;
    /// Files at least this large are read by a thread of their own, a few
    /// blocks ahead, so that reading overlaps with using the bytes.
    static constexpr std::uint64_t kBackgroundReadSize = 16 * 1024 * 1024;

    /// Opens `path`; on failure returns the system error and leaves `io` empty.
    static Result Open(const std::string& path, OpenMode mode, IIOPtr& io,
                       std::size_t readAhead = kDefaultReadAhead);

    Result Read(void* buffer, std::size_t size, std::size_t* bytesRead) override;
    Result Write(const void* buffer, std::size_t size, std::size_t* bytesWritten) override;
    Result Seek(std::int64_t offset, SeekOrigin origin, std::uint64_t* position) override;
    Result GetSize(std::uint64_t* size) override;

    /// Flushes written data to the device (used before renaming into place).
    Result Sync();

    FileIO(const FileIO&) = delete;
    FileIO& operator=(const FileIO&) = delete;

private:
    FileIO(int fd, std::uint64_t size, std::size_t readAhead);
    ~FileIO() override;

    Result Fill();
    /// How much of `wanted` a read may ask for: up to one byte past the limit.
    std::size_t Allowance(std::size_t wanted) const;
    Result Grown();
    Result ReadBackground(void* buffer, std::size_t size, std::size_t* bytesRead);
    void StopBackground();

    int fd_;
    std::uint64_t size_;
    std::uint64_t limit_;  // the size at opening, for reading
    bool grown_ = false;
    // Allocated on first use, no larger than the file needs, not zeroed:
    // opening many small files must not cost a large buffer each.
    std::unique_ptr<unsigned char[]> buffer_;
    std::size_t capacity_;
    std::size_t begin_ = 0;  // unread window of buffer_
    std::size_t end_ = 0;
    std::uint64_t position_ = 0;               // of the descriptor, after the buffered bytes
    bool drained_ = false;                     // the last fill reached the end
    std::unique_ptr<BlockReader> background_;  // large files only, until a seek
    BlockReader::Block* block_ = nullptr;      // the block being handed out
    std::size_t blockOffset_ = 0;
    std::uint64_t delivered_ = 0;  // bytes handed out by the background path
    std::uint64_t received_ = 0;   // bytes the background path has read
    bool backgroundEnded_ = false;
    Result backgroundResult_ = kOk;
};

}  // namespace zel
