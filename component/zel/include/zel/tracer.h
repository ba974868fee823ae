#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include <boost/format.hpp>

#include "zel/ref_counted.h"
#include "zel/result.h"

namespace zel {

/// One trace record as the formatting stage sees it.
struct TraceRecord {
    std::uint32_t level = 0;
    std::string_view message;
};

/// Destination of formatted trace lines.
class ITraceChannel : public RefCounted {
public:
    /// Writes one complete line (with its line end).
    virtual Result Write(std::string_view line) = 0;
};
using ITraceChannelPtr = intrusive_ptr<ITraceChannel>;

/// Channel appending to a file; fails with the system error when the file
/// cannot be opened.
Result CreateFileTraceChannel(const std::string& path, ITraceChannelPtr& channel);
/// Channel writing to standard output.
Result CreateStdoutTraceChannel(ITraceChannelPtr& channel);

/// Turns a record into a line by a prefix pattern. Letters after "%":
/// X local time with milliseconds, D date, Y year, m month, d day,
/// H hour, M minute, S second, I thread id, P process id, p record level,
/// N host name, i record sequence number, C the channel's component name;
/// "%%" is a percent sign. Unknown letters are copied as they stand.
class TraceFormatter final : public RefCounted {
public:
    static constexpr const char* kDefaultPattern = "%X\t%I\t%p\t";

    Result SetPattern(std::string pattern);
    /// Formats one record; `sequence` numbers records of the tracer.
    std::string Format(const TraceRecord& record, std::uint64_t sequence) const;

private:
    std::string pattern_ = kDefaultPattern;
};
using TraceFormatterPtr = intrusive_ptr<TraceFormatter>;

/// Levelled diagnostic log: a record is written when its level is at most
/// the configured level.
class ITracer : public RefCounted {
public:
    virtual bool IsEnabled(std::uint32_t level) const noexcept = 0;
    /// Writes a record if its level is enabled; tracing never throws.
    virtual void Write(std::uint32_t level, std::string_view message) noexcept = 0;
};
using ITracerPtr = intrusive_ptr<ITracer>;

class Tracer final : public ITracer {
public:
    Tracer(TraceFormatterPtr formatter, ITraceChannelPtr channel);

    Result SetLevel(std::uint32_t level);
    bool IsEnabled(std::uint32_t level) const noexcept override { return level <= level_; }
    void Write(std::uint32_t level, std::string_view message) noexcept override;

private:
    TraceFormatterPtr formatter_;
    ITraceChannelPtr channel_;
    std::uint32_t level_ = 0;
    std::uint64_t sequence_ = 0;
    std::mutex mutex_;
};

/// Gives a class access to the run's tracer; an absent tracer traces nothing.
class TracerProvider {
public:
    explicit TracerProvider(ITracerPtr tracer) : tracer_(std::move(tracer)) {}

    const ITracerPtr& GetTracer() const noexcept { return tracer_; }

protected:
    bool IsTraceEnabled(std::uint32_t level) const noexcept
    {
        return tracer_ && tracer_->IsEnabled(level);
    }

    void Trace(std::uint32_t level, std::string_view message) const noexcept
    {
        if (IsTraceEnabled(level)) {
            tracer_->Write(level, message);
        }
    }

    /// Formats "%1%"-style messages only when the level is enabled.
    template <class... Args>
    void Trace(std::uint32_t level, const char* format, const Args&... args) const
    {
        if (IsTraceEnabled(level)) {
            boost::format text(format);
            ((void)(text % args), ...);
            tracer_->Write(level, text.str());
        }
    }

private:
    ITracerPtr tracer_;
};

}  // namespace zel
