#pragma once

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "enums.h"
#include "hash/hash.h"
#include "manifest/manifest.h"
#include "types.h"

namespace integrity_check_tool {

/// Digests of files computed before the checks ask for them.
class IReadAhead {
public:
    virtual ~IReadAhead() = default;
    /// True with `digest` filled when the `type` digest of `path` was read
    /// ahead; rethrows what reading it threw. False when it was not read
    /// ahead: the caller computes it itself.
    virtual bool Take(const std::string& path, CheckType type, Blob& digest) = 0;
};
using IReadAheadPtr = std::shared_ptr<IReadAhead>;

/// One file to hash ahead, in the order the checks will ask for it.
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

    /// Looks for `path` a little ahead of the previous request and waits
    /// for it (or reads it); earlier items are given up.
    bool Take(const std::string& path, CheckType type, Blob& digest) override;

private:
    struct Slot {
        Blob digest;
        std::exception_ptr error;
        bool done = false;
    };

    void Work();
    void Compute(std::size_t index);

    std::vector<ReadAheadItem> items_;
    std::vector<Slot> slots_;
    IHashPtr sha256_;
    IHashPtr gost_;
    std::size_t window_;

    std::mutex mutex_;
    std::condition_variable workReady_;  // workers: the window moved or stop
    std::condition_variable slotDone_;   // consumer: a slot was filled
    std::size_t next_ = 0;               // first item no worker has taken
    std::size_t cursor_ = 0;             // the consumer's position
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

/// Appends `path` to `items` when `type` is a hash.
void AddReadAheadItem(std::vector<ReadAheadItem>& items, std::string path, CheckType type);

/// True when `entry` applies to every system.
bool IsUnrestricted(const Applicability& entry);

}  // namespace integrity_check_tool
