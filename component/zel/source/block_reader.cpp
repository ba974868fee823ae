#include "zel/block_reader.h"

#include <unistd.h>

#include <cerrno>

namespace zel {

BlockReader::BlockReader(int fd, std::size_t blockSize, std::size_t blocks)
    : blockSize_(blockSize), blocks_(blocks), fd_(fd)
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
        ssize_t got = 0;
        do {
            got = ::read(fd_, block->data.get(), blockSize_);
        } while (got < 0 && errno == EINTR);
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
