#pragma once

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "enums.h"
#include "hash/content_digest.h"
#include "hash/hash.h"

namespace integrity_check_tool {

/// Digests of files computed before the checks need them.
class IReadAhead {
public:
    virtual ~IReadAhead() = default;
    /// The digest of item `index`, with what reading it threw kept inside.
    /// Indices never decrease from one call to the next; items passed over
    /// are given up.
    virtual ContentDigest Take(std::size_t index) = 0;
};
using IReadAheadPtr = std::shared_ptr<IReadAhead>;

/// One file to hash ahead, in the order its check will be made.
struct ReadAheadItem {
    std::string path;
    CheckType type = CheckType::Sha256;
};

/// Hashes files on worker threads in the order given, never more than a
/// fixed number of files ahead of the consumer, so memory stays bounded
/// however long the list. A consumer whose file is not ready hashes one
/// itself instead of waiting. Every file is read as the serial path reads
/// it, through a `File` data object, so a failure carries the same message.
/// Nothing here traces: the consumer's thread writes every record.
class ReadAhead final : public IReadAhead {
public:
    static constexpr std::size_t kFilesPerWorker = 32;

    /// Starts `workers` threads over `items`; with none, the consumer
    /// reads every file itself.
    ReadAhead(std::vector<ReadAheadItem> items, unsigned workers);
    /// Stops the workers; files not reached are never opened.
    ~ReadAhead() override;

    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    /// Throws std::out_of_range for an index past the items or behind the
    /// previous one.
    ContentDigest Take(std::size_t index) override;

private:
    using Lock = std::unique_lock<std::mutex>;

    // Called with the lock held, which ComputeUnlocked gives up while
    // Compute hashes; Work takes it itself.
    void Work();
    std::optional<std::size_t> NextForWorker(Lock& lock);
    void Advance(std::size_t index);
    void ReleasePassed(std::size_t index);
    void WakeWorkersIfRoom();
    void ComputeOrWait(Lock& lock, std::size_t index);
    void ComputeUnlocked(Lock& lock, std::size_t index);
    ContentDigest Compute(std::size_t index) const;

    const std::vector<ReadAheadItem> items_;
    IHashPtr sha256_;
    IHashPtr gost_;
    const std::size_t window_;

    std::mutex mutex_;
    std::condition_variable workReady_;                // workers: the window moved or stop
    std::condition_variable slotDone_;                 // consumer: a slot was filled
    std::vector<std::optional<ContentDigest>> slots_;  // filled when done
    std::size_t next_ = 0;                             // first item nobody has taken
    std::size_t cursor_ = 0;                           // the consumer's position
    static constexpr std::size_t kNobody = ~std::size_t{0};
    std::size_t waitingFor_ = kNobody;  // the slot the consumer waits for
    unsigned idle_ = 0;                 // workers waiting for room in the window
    bool stop_ = false;
    std::vector<std::thread> workers_;
};

/// Number of hashing threads, the consuming one included: `setting` when it
/// holds a positive number (at most 256), else `cores` (at least 1, at most
/// 16). One means that files are read by the checks themselves, one by one.
unsigned ReadAheadThreads(std::string_view setting, unsigned cores);

/// ReadAheadThreads for INTEGRITY_CHECK_THREADS (empty when unset) and the
/// machine's cores.
unsigned ReadAheadThreads();

/// The read-ahead for `items`, or null when `threads` is 1 or nothing is to
/// be read.
IReadAheadPtr MakeReadAhead(std::vector<ReadAheadItem> items,
                            unsigned threads = ReadAheadThreads());

/// Item `index` of `readAhead`; none when either is missing, and the check
/// reads the file itself.
std::optional<ContentDigest> TakeDigest(IReadAhead* readAhead, std::optional<std::size_t> index);

/// True when `type` is a digest a read-ahead computes.
bool IsReadAhead(CheckType type);

}  // namespace integrity_check_tool
