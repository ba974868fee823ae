#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <zel/tracer.h>

#include "exception.h"
#include "manifest/manifest.h"

namespace integrity_check_tool::test {

/// The description of the Exception `action` throws, or "no exception".
template <class Action> std::string Refusal(const Action& action)
{
    try {
        action();
    } catch (const Exception& error) {
        return error.GetDescription();
    }
    return "no exception";
}

/// A shared check record.
inline CheckInfoPtr Check(CheckType type, Blob value = {})
{
    return std::make_shared<CheckInfo>(CheckInfo{type, std::move(value)});
}

/// A file entry without conditions.
inline FileInfo File(std::string path, std::initializer_list<CheckInfoPtr> checks = {})
{
    FileInfo file;
    file.path = std::move(path);
    file.checks = checks;
    return file;
}

/// Tracer that keeps every record written within its level.
class RecordingTracer final : public zel::ITracer {
public:
    explicit RecordingTracer(std::uint32_t level) : level_(level) {}

    bool IsEnabled(std::uint32_t level) const noexcept override { return level <= level_; }
    void Write(std::uint32_t, std::string_view message) noexcept override
    {
        records.emplace_back(message);
    }

    std::vector<std::string> records;

private:
    std::uint32_t level_;
};

}  // namespace integrity_check_tool::test
