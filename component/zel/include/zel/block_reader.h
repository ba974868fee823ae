#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "zel/result.h"

namespace zel {

/// Reads a descriptor from its current offset to its end on a thread of its
/// own, a few blocks ahead of the consumer, so that reading a large file
/// overlaps with what the consumer does with it (hashing, say).
class BlockReader {
public:
    struct Block {
        std::unique_ptr<unsigned char[]> data;
        std::size_t size = 0;  ///< 0: the end
        Result result = kOk;   ///< a failure ends the blocks
    };

    /// Starts the thread, which reads at most `limit` bytes; throws
    /// std::system_error when it cannot, and std::bad_alloc. The descriptor
    /// stays the caller's and must outlive this.
    BlockReader(int fd, std::size_t blockSize, std::size_t blocks, std::uint64_t limit);
    /// Stops the thread; the descriptor's offset is then unspecified.
    ~BlockReader();
    BlockReader(const BlockReader&) = delete;
    BlockReader& operator=(const BlockReader&) = delete;

    /// The next block in file order, waiting for it; give it back with
    /// Release before asking for more than `blocks` at once. After a block
    /// of size 0 (the end, or a failure) there are no more: never ask again.
    Block* Next();
    void Release(Block* block);

private:
    void Run();

    std::size_t blockSize_;
    std::vector<Block> blocks_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Block*> free_;
    std::deque<Block*> filled_;
    bool stop_ = false;
    int fd_;
    std::uint64_t left_;  // of the limit; the reader thread's alone
    std::thread thread_;  // last: starts once everything above exists
};

}  // namespace zel
