#include "zel/tracer.h"

namespace zel {

Tracer::Tracer(TraceFormatterPtr formatter, ITraceChannelPtr channel)
    : formatter_(std::move(formatter)), channel_(std::move(channel))
{
}

Result Tracer::SetLevel(std::uint32_t level)
{
    level_ = level;
    return kOk;
}

void Tracer::Write(std::uint32_t level, std::string_view message) noexcept
{
    if (!IsEnabled(level) || !channel_) {
        return;
    }
    try {
        std::lock_guard<std::mutex> lock(mutex_);
        std::string line =
            formatter_ ? formatter_->Format({level, message}, sequence_++) : std::string();
        line.append(message);
        line.push_back('\n');
        channel_->Write(line);
    } catch (...) {
        // A log that cannot be written must not change the run's outcome.
    }
}

}  // namespace zel
