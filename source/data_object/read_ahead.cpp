#include "data_object/read_ahead.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include "data_object/file.h"
#include "format.h"
#include "hash/gost2012.h"
#include "hash/sha256.h"

namespace integrity_check_tool {

ReadAhead::ReadAhead(std::vector<ReadAheadItem> items, unsigned workers)
    : items_(std::move(items)), sha256_(openssl::GetSha256()),
      // A private instance without a tracer: the shared one traces its
      // creation, and the consumer's records must match a serial run.
      gost_(std::make_shared<const vorn::Gost2012>(nullptr)),
      window_((workers + 1) * kFilesPerWorker), slots_(items_.size())
{
    workers_.reserve(workers);
    PrepareFormatForThreads();  // workers format the messages of unreadable files
    try {
        for (unsigned i = 0; i < workers; ++i) {
            workers_.emplace_back([this] { Work(); });
        }
    } catch (const std::system_error&) {
        // Threads may be scarce: the consumer reads what no worker takes.
    }
}

ReadAhead::~ReadAhead()
{
    {
        std::lock_guard lock(mutex_);
        stop_ = true;
    }
    workReady_.notify_all();
    for (std::thread& worker : workers_) {
        worker.join();
    }
}

ContentDigest ReadAhead::Take(std::size_t index)
{
    Lock lock(mutex_);
    if (index < cursor_ || index >= items_.size()) {
        throw std::out_of_range("read-ahead item out of order");
    }
    Advance(index);
    ComputeOrWait(lock, index);
    return *slots_[index];
}

void ReadAhead::Work()
{
    Lock lock(mutex_);
    while (const std::optional<std::size_t> index = NextForWorker(lock)) {
        ComputeUnlocked(lock, *index);
    }
}

std::optional<std::size_t> ReadAhead::NextForWorker(Lock& lock)
{
    while (!stop_ && next_ < items_.size() && next_ >= cursor_ + window_) {
        ++idle_;
        workReady_.wait(lock);
        --idle_;
    }
    next_ = std::max(next_, cursor_);  // items the consumer passed are not read
    if (stop_ || next_ >= items_.size()) {
        return std::nullopt;
    }
    return next_++;
}

void ReadAhead::Advance(std::size_t index)
{
    if (index != cursor_) {
        ReleasePassed(index);
        cursor_ = index;
        WakeWorkersIfRoom();
    }
}

void ReadAhead::ReleasePassed(std::size_t index)
{
    // Slots still being read are dropped by their worker when it is done.
    for (std::size_t passed = cursor_; passed < index && passed < next_; ++passed) {
        slots_[passed].reset();
    }
}

void ReadAhead::WakeWorkersIfRoom()
{
    // Idle workers are woken once half the window is free again, not for
    // every file, so that small files do not cost a wake-up each.
    if (idle_ > 0 && (cursor_ >= next_ || next_ - cursor_ <= window_ / 2)) {
        workReady_.notify_all();
    }
}

void ReadAhead::ComputeOrWait(Lock& lock, std::size_t index)
{
    while (!slots_[index]) {
        next_ = std::max(next_, cursor_);
        if (next_ == index || (next_ < items_.size() && next_ < cursor_ + window_)) {
            // Rather than sleep, read a file nobody has taken: the one asked
            // for, or the next one a worker would read. A switch of threads
            // per file would cost more than hashing a small one.
            ComputeUnlocked(lock, next_++);
            continue;
        }
        waitingFor_ = index;
        slotDone_.wait(lock);
        waitingFor_ = kNobody;
    }
}

void ReadAhead::ComputeUnlocked(Lock& lock, std::size_t index)
{
    lock.unlock();
    ContentDigest digest = Compute(index);
    lock.lock();
    if (index >= cursor_) {  // else nothing will ask for it
        slots_[index] = std::move(digest);
        if (waitingFor_ == index) {
            slotDone_.notify_one();
        }
    }
}

ContentDigest ReadAhead::Compute(std::size_t index) const
{
    const ReadAheadItem& item = items_[index];
    try {
        const IHashPtr& hash = item.type == CheckType::Gost2012 ? gost_ : sha256_;
        File file(item.path);
        return ContentDigest(item.type, hash->CalculateHash(file.GetData()));
    } catch (...) {
        return ContentDigest(item.type, std::current_exception());
    }
}

unsigned ReadAheadThreads(std::string_view setting, unsigned cores)
{
    constexpr unsigned kDefaultCap = 16;
    constexpr unsigned kExplicitCap = 256;
    if (!setting.empty()) {
        unsigned value = 0;
        const char* end = setting.data() + setting.size();
        const auto [stop, error] = std::from_chars(setting.data(), end, value);
        if (error == std::errc{} && stop == end && value > 0) {
            return std::min(value, kExplicitCap);
        }
    }
    return std::clamp(cores, 1u, kDefaultCap);
}

unsigned ReadAheadThreads()
{
    const char* setting = std::getenv("INTEGRITY_CHECK_THREADS");
    return ReadAheadThreads(setting != nullptr ? setting : "", std::thread::hardware_concurrency());
}

IReadAheadPtr MakeReadAhead(std::vector<ReadAheadItem> items, unsigned threads)
{
    if (threads <= 1 || items.empty()) {
        return nullptr;
    }
    // The consuming thread hashes too, so it is one of the threads.
    const auto workers = static_cast<unsigned>(std::min<std::size_t>(threads - 1, items.size()));
    return std::make_shared<ReadAhead>(std::move(items), workers);
}

std::optional<ContentDigest> TakeDigest(IReadAhead* readAhead, std::optional<std::size_t> index)
{
    if (readAhead == nullptr || !index) {
        return std::nullopt;
    }
    return readAhead->Take(*index);
}

bool IsReadAhead(CheckType type)
{
    return type == CheckType::Sha256 || type == CheckType::Gost2012;
}

}  // namespace integrity_check_tool
