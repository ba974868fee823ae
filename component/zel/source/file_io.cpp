#include "zel/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include <linux/magic.h>

namespace zel {

namespace {

Result LastError()
{
    return ResultFromErrno(errno);
}

constexpr std::size_t kBackgroundBlock = 1024 * 1024;
constexpr std::size_t kBackgroundBlocks = 4;

/// Kernel file systems whose regular files report a size unrelated to what
/// they yield (/proc/self/pagemap: 0, then hundreds of GB).
bool OnPseudoFileSystem(int fd)
{
    struct statfs system {};
    if (::fstatfs(fd, &system) != 0) {
        return false;
    }
    // f_type differs in width and signedness between architectures.
    switch (static_cast<std::uint32_t>(system.f_type)) {
    case PROC_SUPER_MAGIC:
    case SYSFS_MAGIC:
    case DEBUGFS_MAGIC:
    case TRACEFS_MAGIC:
    case SECURITYFS_MAGIC:
    case CGROUP_SUPER_MAGIC:
    case CGROUP2_SUPER_MAGIC:
        return true;
    default:
        return false;
    }
}

}  // namespace

Result FileIO::Open(const std::string& path, OpenMode mode, IIOPtr& io, std::size_t readAhead)
{
    io.reset();
    int flags = O_CLOEXEC | O_NOCTTY;
    if (mode == OpenMode::Read) {
        // O_NONBLOCK keeps open() from waiting for a FIFO writer; the type
        // check below then refuses everything that is not a regular file.
        flags |= O_RDONLY | O_NONBLOCK;
    } else {
        flags |= O_WRONLY | O_CREAT | O_TRUNC;
    }
    int fd = -1;
    do {
        fd = ::open(path.c_str(), flags, 0644);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        return LastError();
    }
    struct stat status {};
    if (::fstat(fd, &status) != 0) {
        const Result result = LastError();
        ::close(fd);
        return result;
    }
    if (!S_ISREG(status.st_mode)) {
        ::close(fd);
        return S_ISDIR(status.st_mode) ? ResultFromErrno(EISDIR) : kNotRegularFile;
    }
    if (mode == OpenMode::Read && OnPseudoFileSystem(fd)) {
        ::close(fd);
        return kPseudoFile;
    }
    // O_NONBLOCK stays set: it has no effect on regular files. Read-ahead
    // advice pays off only for large files; small ones would just cost a call.
    if (mode == OpenMode::Read && status.st_size >= (off_t{1} << 20)) {
        ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    }
    FileIO* file = nullptr;
    try {
        file = new FileIO(fd, static_cast<std::uint64_t>(status.st_size),
                          mode == OpenMode::Read ? readAhead : 0);
    } catch (const std::bad_alloc&) {
        ::close(fd);
        return kOutOfMemory;
    }
    io.reset(file);
    if (mode == OpenMode::Read &&
        static_cast<std::uint64_t>(status.st_size) >= kBackgroundReadSize) {
        try {
            // One byte past the size tells a file that grew from one that ended.
            file->background_ = std::make_unique<BlockReader>(fd, kBackgroundBlock,
                                                              kBackgroundBlocks, file->limit_ + 1);
        } catch (const std::exception&) {
            // No thread or no memory for it: the file is read in place.
        }
    }
    return kOk;
}

FileIO::FileIO(int fd, std::uint64_t size, std::size_t readAhead)
    : fd_(fd), size_(size), limit_(size),
      // One byte more than the file lets the first fill see the end too.
      capacity_(static_cast<std::size_t>(std::min<std::uint64_t>(readAhead, size + 1)))
{
}

FileIO::~FileIO()
{
    StopBackground();
    ::close(fd_);
}

void FileIO::StopBackground()
{
    if (block_ != nullptr) {
        background_->Release(block_);
        block_ = nullptr;
    }
    background_.reset();
    backgroundEnded_ = false;
}

Result FileIO::ReadBackground(void* buffer, std::size_t size, std::size_t* bytesRead)
{
    if (backgroundEnded_) {
        return backgroundResult_;
    }
    if (block_ == nullptr) {
        block_ = background_->Next();
        blockOffset_ = 0;
        received_ += block_->size;
        if (block_->size == 0 || received_ > limit_) {
            backgroundResult_ = block_->size == 0 ? block_->result : kChangedWhileRead;
            backgroundEnded_ = true;
            background_->Release(block_);
            block_ = nullptr;
            return backgroundResult_;
        }
    }
    const std::size_t count = std::min(size, block_->size - blockOffset_);
    std::memcpy(buffer, block_->data.get() + blockOffset_, count);
    blockOffset_ += count;
    delivered_ += count;
    *bytesRead = count;
    if (blockOffset_ == block_->size) {
        background_->Release(block_);
        block_ = nullptr;
    }
    return kOk;
}

Result FileIO::Fill()
{
    begin_ = end_ = 0;
    if (!buffer_) {
        buffer_.reset(new (std::nothrow) unsigned char[capacity_]);
        if (!buffer_) {
            return kOutOfMemory;
        }
    }
    if (drained_) {
        return kOk;
    }
    const std::size_t wanted = Allowance(capacity_);
    for (;;) {
        const ssize_t got = ::read(fd_, buffer_.get(), wanted);
        if (got >= 0) {
            position_ += static_cast<std::size_t>(got);
            if (position_ > limit_) {
                return Grown();
            }
            end_ = static_cast<std::size_t>(got);
            // A short read that reaches the size seen at opening is the end:
            // asking again would cost a system call per small file.
            drained_ = end_ < wanted && position_ >= limit_;
            return kOk;
        }
        if (errno != EINTR) {
            return LastError();
        }
    }
}

std::size_t FileIO::Allowance(std::size_t wanted) const
{
    // One byte past the size tells a file that grew from one that ended.
    const std::uint64_t end = limit_ + 1;
    return static_cast<std::size_t>(
        std::min<std::uint64_t>(wanted, position_ < end ? end - position_ : 1));
}

Result FileIO::Grown()
{
    grown_ = true;
    begin_ = end_ = 0;
    return kChangedWhileRead;
}

Result FileIO::Read(void* buffer, std::size_t size, std::size_t* bytesRead)
{
    if (bytesRead == nullptr || (buffer == nullptr && size != 0)) {
        return kInvalidArgument;
    }
    *bytesRead = 0;
    if (size == 0) {
        return kOk;
    }
    if (grown_) {
        return kChangedWhileRead;
    }
    if (background_) {
        return ReadBackground(buffer, size, bytesRead);
    }
    if (begin_ == end_) {
        if (size >= capacity_) {
            // Large reads go straight to the caller's buffer.
            for (;;) {
                const ssize_t got = ::read(fd_, buffer, Allowance(size));
                if (got >= 0) {
                    position_ += static_cast<std::size_t>(got);
                    if (position_ > limit_) {
                        return Grown();
                    }
                    *bytesRead = static_cast<std::size_t>(got);
                    return kOk;
                }
                if (errno != EINTR) {
                    return LastError();
                }
            }
        }
        if (const Result result = Fill(); Failed(result)) {
            return result;
        }
    }
    const std::size_t count = std::min(size, end_ - begin_);
    if (count != 0) {
        std::memcpy(buffer, buffer_.get() + begin_, count);
    }
    begin_ += count;
    *bytesRead = count;
    return kOk;
}

Result FileIO::Write(const void* buffer, std::size_t size, std::size_t* bytesWritten)
{
    if (buffer == nullptr && size != 0) {
        return kInvalidArgument;
    }
    std::size_t done = 0;
    const auto* bytes = static_cast<const unsigned char*>(buffer);
    while (done < size) {
        const ssize_t put = ::write(fd_, bytes + done, size - done);
        if (put < 0) {
            if (errno == EINTR) {
                continue;
            }
            if (bytesWritten != nullptr) {
                *bytesWritten = done;
            }
            return LastError();
        }
        done += static_cast<std::size_t>(put);
    }
    if (bytesWritten != nullptr) {
        *bytesWritten = done;
    }
    size_ = std::max<std::uint64_t>(size_, static_cast<std::uint64_t>(::lseek(fd_, 0, SEEK_CUR)));
    return kOk;
}

Result FileIO::Seek(std::int64_t offset, SeekOrigin origin, std::uint64_t* position)
{
    if (background_) {
        // The reader thread has moved the descriptor: seek from what the
        // caller has seen, and read in place from there on.
        if (origin == SeekOrigin::Current) {
            offset += static_cast<std::int64_t>(delivered_);
            origin = SeekOrigin::Begin;
        }
        StopBackground();
    }
    int whence = SEEK_SET;
    if (origin == SeekOrigin::Current) {
        whence = SEEK_CUR;
        // The kernel's position is ahead of ours by the unread window.
        offset -= static_cast<std::int64_t>(end_ - begin_);
    } else if (origin == SeekOrigin::End) {
        whence = SEEK_END;
    }
    const off_t at = ::lseek(fd_, static_cast<off_t>(offset), whence);
    if (at < 0) {
        return LastError();
    }
    begin_ = end_ = 0;
    position_ = static_cast<std::uint64_t>(at);
    drained_ = false;
    if (position != nullptr) {
        *position = static_cast<std::uint64_t>(at);
    }
    return kOk;
}

Result FileIO::GetSize(std::uint64_t* size)
{
    if (size == nullptr) {
        return kInvalidArgument;
    }
    struct stat status {};
    if (::fstat(fd_, &status) != 0) {
        return LastError();
    }
    size_ = static_cast<std::uint64_t>(status.st_size);
    *size = size_;
    return kOk;
}

Result FileIO::Sync()
{
    return ::fsync(fd_) == 0 ? kOk : LastError();
}

}  // namespace zel
