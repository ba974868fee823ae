#pragma once

#include <string>

#include <zel/tracer.h>

namespace crypto::lum::test {

/// Keeps every record, one a line, to show why a step failed.
class RecordingTracer final : public zel::ITracer {
public:
    bool IsEnabled(std::uint32_t /*level*/) const noexcept override { return true; }
    void Write(std::uint32_t /*level*/, std::string_view message) noexcept override
    {
        text.append(message).append("\n");
    }

    std::string text;
};

}  // namespace crypto::lum::test
