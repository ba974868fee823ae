#pragma once

#include <string>
#include <vector>
#include <zel/tracer.h>

namespace crypto::lum::test {

/// Keeps every record, whatever its level.
class RecordingTracer final : public zel::ITracer {
public:
    bool IsEnabled(std::uint32_t /*level*/) const noexcept override { return true; }
    void Write(std::uint32_t level, std::string_view message) noexcept override
    {
        lines.push_back(std::to_string(level) + " " + std::string(message));
    }

    /// Whether some record contains `text`.
    bool Contains(const std::string& text) const
    {
        for (const std::string& line : lines) {
            if (line.find(text) != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    std::string All() const
    {
        std::string text;
        for (const std::string& line : lines) {
            text += line + "\n";
        }
        return text;
    }

    std::vector<std::string> lines;
};

} // namespace crypto::lum::test
