#include "data_object/read_ahead.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <system_error>

#include "data_object/file.h"
#include "format.h"
#include "hash/gost2012.h"
#include "hash/sha256.h"

namespace integrity_check_tool {

ReadAhead::ReadAhead(std::vector<ReadAheadItem> items, unsigned workers)
    : items_(std::move(items)), slots_(items_.size()), sha256_(openssl::GetSha256()),
      // A private instance without a tracer: the shared one traces its
      // creation, and the consumer's records must match a serial run.
      gost_(std::make_shared<const vorn::Gost2012>(nullptr)),
      window_((workers + 1) * kFilesPerWorker)
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

void ReadAhead::Work()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        while (!stop_ && next_ < items_.size() && next_ >= cursor_ + window_) {
            ++idle_;
            workReady_.wait(lock);
            --idle_;
        }
        next_ = std::max(next_, cursor_);  // items the consumer passed are not read
        if (stop_ || next_ >= items_.size()) {
            return;
        }
        const std::size_t index = next_++;
        lock.unlock();
        Compute(index);
        lock.lock();
        slots_[index].done = true;
        if (waitingFor_ == index) {
            slotDone_.notify_one();
        }
    }
}

void ReadAhead::Compute(std::size_t index)
{
    Slot& slot = slots_[index];
    try {
        const IHashPtr& hash = items_[index].type == CheckType::Gost2012 ? gost_ : sha256_;
        File file(items_[index].path);
        slot.digest = hash->CalculateHash(file.GetData());
    } catch (...) {
        slot.error = std::current_exception();
    }
}

bool ReadAhead::Take(const std::string& path, CheckType type, Blob& digest)
{
    std::unique_lock lock(mutex_);
    if (stop_) {
        return false;
    }
    // The consumer asks in the order of the list but may pass over items
    // whose checks never got to the hash; look a window ahead at most.
    const std::size_t end = std::min(items_.size(), cursor_ + window_ + 1);
    std::size_t index = cursor_;
    while (index < end && (items_[index].type != type || items_[index].path != path)) {
        ++index;
    }
    if (index == end) {
        return false;
    }
    if (index != cursor_) {
        for (std::size_t passed = cursor_; passed < index && passed < next_; ++passed) {
            if (slots_[passed].done) {
                slots_[passed] = Slot{};  // done stays false: nothing will ask again
            }
        }
        cursor_ = index;
        // Idle workers are woken once half the window is free again, not
        // for every file, so that small files do not cost a wake-up each.
        if (idle_ > 0 && (index >= next_ || next_ - cursor_ <= window_ / 2)) {
            workReady_.notify_all();
        }
    }
    while (!slots_[index].done) {
        next_ = std::max(next_, cursor_);
        if (next_ == index || (next_ < items_.size() && next_ < cursor_ + window_)) {
            // Rather than sleep, read a file nobody has taken: the one asked
            // for, or the next one a worker would read. A switch of threads
            // per file would cost more than hashing a small one.
            const std::size_t own = next_++;
            lock.unlock();
            Compute(own);
            lock.lock();
            slots_[own].done = true;
            continue;
        }
        waitingFor_ = index;
        slotDone_.wait(lock);
        waitingFor_ = kNobody;
    }
    if (slots_[index].error) {
        std::rethrow_exception(slots_[index].error);
    }
    digest = slots_[index].digest;
    return true;
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

void AddReadAheadItem(std::vector<ReadAheadItem>& items, std::string path, CheckType type)
{
    if (type == CheckType::Sha256 || type == CheckType::Gost2012) {
        items.push_back(ReadAheadItem{std::move(path), type});
    }
}

bool IsUnrestricted(const Applicability& entry)
{
    return entry == Applicability{};
}

}  // namespace integrity_check_tool
