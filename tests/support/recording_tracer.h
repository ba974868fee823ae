#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <zel/tracer.h>

namespace integrity_check_tool::test {

/// Tracer that keeps every record written within its level, to compare them
/// or to show why a step failed.
class RecordingTracer final : public zel::ITracer {
public:
    /// Keeps the records of `level` and below; all of them by default.
    explicit RecordingTracer(std::uint32_t level = UINT32_MAX) : level_(level) {}

    bool IsEnabled(std::uint32_t level) const noexcept override { return level <= level_; }
    void Write(std::uint32_t /*level*/, std::string_view message) noexcept override
    {
        records.emplace_back(message);
    }

    /// The records, one a line.
    std::string Text() const
    {
        std::string text;
        for (const std::string& record : records) {
            text.append(record).append("\n");
        }
        return text;
    }

    std::vector<std::string> records;

private:
    std::uint32_t level_;
};

}  // namespace integrity_check_tool::test
