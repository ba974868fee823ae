#include "zel/available_memory.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <string_view>

namespace zel {

namespace {

std::optional<std::string> ReadText(const std::string& path)
{
    std::ifstream file(path);
    if (!file) {
        return std::nullopt;
    }
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::optional<std::uint64_t> ParseUnsigned(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end == text.data()) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::uint64_t> ReadUnsigned(const std::string& path)
{
    const std::optional<std::string> text = ReadText(path);
    return text ? ParseUnsigned(*text) : std::nullopt;
}

/// The value of a "Name:   123 kB" line of /proc/meminfo, in bytes.
std::optional<std::uint64_t> MeminfoField(const std::string& meminfo, std::string_view name)
{
    std::istringstream lines(meminfo);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.size() > name.size() && line.compare(0, name.size(), name) == 0 &&
            line[name.size()] == ':') {
            const std::optional<std::uint64_t> kib =
                ParseUnsigned(std::string_view(line).substr(name.size() + 1));
            if (kib && *kib <= UINT64_MAX / 1024) {
                return *kib * 1024;
            }
            return std::nullopt;
        }
    }
    return std::nullopt;
}

/// A control group's memory limit; empty for "max", or a number beyond any
/// real machine. What the group uses now is not subtracted: much of it is
/// page cache that the kernel reclaims before it kills anyone.
std::optional<std::uint64_t> Limit(const std::string& limitFile)
{
    const std::optional<std::uint64_t> limit = ReadUnsigned(limitFile);
    return limit && *limit < (std::uint64_t{1} << 62) ? limit : std::nullopt;
}

void Lower(std::optional<std::uint64_t>& value, std::optional<std::uint64_t> bound)
{
    if (bound) {
        value = value ? std::min(*value, *bound) : *bound;
    }
}

/// The tightest limit over the process's memory control group and its ancestors.
std::optional<std::uint64_t> CgroupLimit(const std::string& procRoot, const std::string& cgroupRoot)
{
    const std::optional<std::string> membership = ReadText(procRoot + "/self/cgroup");
    if (!membership) {
        return std::nullopt;
    }
    std::optional<std::uint64_t> limit;
    std::istringstream lines(*membership);
    std::string line;
    while (std::getline(lines, line)) {
        // "0::/path" for the unified hierarchy, "N:memory:/path" for the older one.
        const std::size_t first = line.find(':');
        const std::size_t second = first == std::string::npos ? first : line.find(':', first + 1);
        if (second == std::string::npos) {
            continue;
        }
        const std::string controllers = line.substr(first + 1, second - first - 1);
        std::string group = line.substr(second + 1);
        const bool unified = line.compare(0, first, "0") == 0 && controllers.empty();
        const bool memory = controllers == "memory";
        if (!unified && !memory) {
            continue;
        }
        const std::string base = memory ? cgroupRoot + "/memory" : cgroupRoot;
        for (;;) {
            const std::string dir = base + (group == "/" ? "" : group);
            Lower(limit, Limit(dir + (unified ? "/memory.max" : "/memory.limit_in_bytes")));
            const std::size_t slash = group.find_last_of('/');
            if (group.empty() || group == "/" || slash == std::string::npos) {
                break;
            }
            group.erase(slash == 0 ? 1 : slash);
        }
    }
    return limit;
}

}  // namespace

std::optional<std::uint64_t> AvailableMemory(const std::string& procRoot,
                                             const std::string& cgroupRoot)
{
    const std::optional<std::string> meminfo = ReadText(procRoot + "/meminfo");
    if (!meminfo) {
        return std::nullopt;
    }
    std::optional<std::uint64_t> available = MeminfoField(*meminfo, "MemAvailable");
    if (!available) {
        return std::nullopt;
    }
    const std::uint64_t swap = MeminfoField(*meminfo, "SwapFree").value_or(0);
    available = *available + std::min(swap, UINT64_MAX - *available);
    Lower(available, CgroupLimit(procRoot, cgroupRoot));
    return available;
}

bool FitsInMemory(std::uint64_t bytes)
{
    if (bytes < kMemoryCheckThreshold) {
        return true;
    }
    const std::optional<std::uint64_t> available = AvailableMemory();
    return !available || bytes <= *available;
}

}  // namespace zel
