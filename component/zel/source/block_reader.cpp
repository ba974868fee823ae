#include "zel/block_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace zel {

BlockReader::BlockReader(int fd, std::size_t blockSize, std::size_t blocks, std::uint64_t limit)
    : blockSize_(blockSize), blocks_(blocks), fd_(fd), left_(limit)
{
    for (Block& block : blocks_) {
        block.data.reset(new unsigned char[blockSize]);
        free_.push_back(&block);
    }
    thread_ = std::thread([this] { Run(); });
}

BlockReader::~BlockReader()
{
    {
        std::lock_guard lock(mutex_);
        stop_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void BlockReader::Run()
{
    for (;;) {
        Block* block = nullptr;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return stop_ || !free_.empty(); });
            if (stop_) {
                return;
            }
            block = free_.front();
            free_.pop_front();
        }
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(blockSize_, left_));
        ssize_t got = 0;
        while (wanted != 0) {
            got = ::read(fd_, block->data.get(), wanted);
            if (got >= 0 || errno != EINTR) {
                break;
            }
        }
        left_ -= got > 0 ? static_cast<std::uint64_t>(got) : 0;
        block->result = got < 0 ? ResultFromErrno(errno) : kOk;
        block->size = got < 0 ? 0 : static_cast<std::size_t>(got);
        const bool last = block->size == 0;
        {
            std::lock_guard lock(mutex_);
            filled_.push_back(block);
        }
        changed_.notify_all();
        if (last) {
            return;
        }
    }
}

BlockReader::Block* BlockReader::Next()
{
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !filled_.empty(); });
    Block* block = filled_.front();
    filled_.pop_front();
    return block;
}

void BlockReader::Release(Block* block)
{
    {
        std::lock_guard lock(mutex_);
        free_.push_back(block);
    }
    changed_.notify_all();
}

}  // namespace zel
