#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <string>

#include "zel/tracer.h"

namespace zel {

namespace {

std::string HostName()
{
    char name[66] = {};  // the host-name call gives at most 65 bytes
    if (::gethostname(name, sizeof name - 1) != 0) {
        return {};
    }
    return name;
}

/// Appends `value` in decimal, zero-padded to `width` digits.
void AppendNumber(std::string& out, long long value, int width = 0)
{
    std::string digits = std::to_string(value);
    if (static_cast<int>(digits.size()) < width) {
        out.append(static_cast<std::size_t>(width) - digits.size(), '0');
    }
    out += digits;
}

/// The local time of one record, read once for all its fields.
struct RecordTime {
    std::tm local{};
    long long millis = 0;

    static RecordTime Now()
    {
        const auto now = std::chrono::system_clock::now();
        const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
        RecordTime time;
        time.millis = static_cast<long long>(
            std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
            1000);
        ::localtime_r(&seconds, &time.local);
        return time;
    }
};

/// Appends the date or time field that `letter` names; false when it names none.
bool AppendTimeField(std::string& out, char letter, const RecordTime& time)
{
    const std::tm& local = time.local;
    switch (letter) {
    case 'X':
        AppendNumber(out, local.tm_hour, 2);
        out.push_back(':');
        AppendNumber(out, local.tm_min, 2);
        out.push_back(':');
        AppendNumber(out, local.tm_sec, 2);
        out.push_back('.');
        AppendNumber(out, time.millis, 3);
        return true;
    case 'D':
        AppendNumber(out, local.tm_year + 1900LL, 4);
        out.push_back('-');
        AppendNumber(out, local.tm_mon + 1LL, 2);
        out.push_back('-');
        AppendNumber(out, local.tm_mday, 2);
        return true;
    case 'Y':
        AppendNumber(out, local.tm_year + 1900LL, 4);
        return true;
    case 'm':
        AppendNumber(out, local.tm_mon + 1LL, 2);
        return true;
    case 'd':
        AppendNumber(out, local.tm_mday, 2);
        return true;
    case 'H':
        AppendNumber(out, local.tm_hour, 2);
        return true;
    case 'M':
        AppendNumber(out, local.tm_min, 2);
        return true;
    case 'S':
        AppendNumber(out, local.tm_sec, 2);
        return true;
    default:
        return false;
    }
}

/// Appends the process or record field that `letter` names ("%%" among
/// them); false when it names none.
bool AppendProcessField(std::string& out, char letter, const TraceRecord& record,
                        std::uint64_t sequence)
{
    switch (letter) {
    case '%':
        out.push_back('%');
        return true;
    case 'I':
        AppendNumber(out, static_cast<long long>(::syscall(SYS_gettid)));
        return true;
    case 'P':
        AppendNumber(out, static_cast<long long>(::getpid()));
        return true;
    case 'p':
        AppendNumber(out, static_cast<long long>(record.level));
        return true;
    case 'i':
        AppendNumber(out, static_cast<long long>(sequence));
        return true;
    case 'N':
        out += HostName();
        return true;
    case 'C':
        out += "zel";
        return true;
    default:
        return false;
    }
}

}  // namespace

Result TraceFormatter::SetPattern(std::string pattern)
{
    pattern_ = std::move(pattern);
    return kOk;
}

std::string TraceFormatter::Format(const TraceRecord& record, std::uint64_t sequence) const
{
    const RecordTime time = RecordTime::Now();
    std::string out;
    out.reserve(pattern_.size() + 32);
    for (std::size_t i = 0; i < pattern_.size(); ++i) {
        const char c = pattern_[i];
        if (c != '%' || i + 1 == pattern_.size()) {
            out.push_back(c);
            continue;
        }
        const char letter = pattern_[++i];
        if (!AppendTimeField(out, letter, time) &&
            !AppendProcessField(out, letter, record, sequence)) {
            out.push_back('%');
            out.push_back(letter);
        }
    }
    return out;
}

}  // namespace zel
