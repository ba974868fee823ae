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

}  // namespace

Result TraceFormatter::SetPattern(std::string pattern)
{
    pattern_ = std::move(pattern);
    return kOk;
}

std::string TraceFormatter::Format(const TraceRecord& record, std::uint64_t sequence) const
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto millis = static_cast<long long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000);
    std::tm local{};
    ::localtime_r(&seconds, &local);

    std::string out;
    out.reserve(pattern_.size() + 32);
    for (std::size_t i = 0; i < pattern_.size(); ++i) {
        const char c = pattern_[i];
        if (c != '%' || i + 1 == pattern_.size()) {
            out.push_back(c);
            continue;
        }
        const char letter = pattern_[++i];
        switch (letter) {
        case '%':
            out.push_back('%');
            break;
        case 'X':
            AppendNumber(out, local.tm_hour, 2);
            out.push_back(':');
            AppendNumber(out, local.tm_min, 2);
            out.push_back(':');
            AppendNumber(out, local.tm_sec, 2);
            out.push_back('.');
            AppendNumber(out, millis, 3);
            break;
        case 'D':
            AppendNumber(out, local.tm_year + 1900LL, 4);
            out.push_back('-');
            AppendNumber(out, local.tm_mon + 1LL, 2);
            out.push_back('-');
            AppendNumber(out, local.tm_mday, 2);
            break;
        case 'Y':
            AppendNumber(out, local.tm_year + 1900LL, 4);
            break;
        case 'm':
            AppendNumber(out, local.tm_mon + 1LL, 2);
            break;
        case 'd':
            AppendNumber(out, local.tm_mday, 2);
            break;
        case 'H':
            AppendNumber(out, local.tm_hour, 2);
            break;
        case 'M':
            AppendNumber(out, local.tm_min, 2);
            break;
        case 'S':
            AppendNumber(out, local.tm_sec, 2);
            break;
        case 'I':
            AppendNumber(out, static_cast<long long>(::syscall(SYS_gettid)));
            break;
        case 'P':
            AppendNumber(out, static_cast<long long>(::getpid()));
            break;
        case 'p':
            AppendNumber(out, static_cast<long long>(record.level));
            break;
        case 'i':
            AppendNumber(out, static_cast<long long>(sequence));
            break;
        case 'N':
            out += HostName();
            break;
        case 'C':
            out += "zel";
            break;
        default:
            out.push_back('%');
            out.push_back(letter);
            break;
        }
    }
    return out;
}

}  // namespace zel
