#include "report/metrics_text.h"

#include <charconv>
#include <system_error>

#include "format.h"
#include "report/json_text.h"

namespace integrity_check_tool {

namespace {

constexpr std::array<const char*, 5> kKindLabels{"manifest", "file", "directory", "registry_key",
                                                 "registry_value"};

/// A label value: backslash, quote and line feed escaped, valid UTF-8.
std::string LabelValue(const std::string& text)
{
    std::string value;
    for (const char c : ValidUtf8(text)) {
        if (c == '\\' || c == '"') {
            value += '\\';
            value += c;
        } else if (c == '\n') {
            value += "\\n";
        } else {
            value += c;
        }
    }
    return value;
}

void Header(std::string& text, const char* name, const char* help)
{
    text += Format("# HELP %1% %2%\n# TYPE %1% gauge\n", name, help);
}

}  // namespace

std::string FixedSeconds(double seconds)
{
    std::array<char, 64> text{};
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed, 3);
    return error == std::errc{} ? std::string(text.data(), end) : std::string("0.000");
}

std::string MetricsText(const RunMetrics& metrics)
{
    std::string text;
    Header(text, "integrity_check_last_run_timestamp_seconds",
           "Unix time the last verification ended.");
    text += "integrity_check_last_run_timestamp_seconds " + FixedSeconds(metrics.endTime) + "\n";
    Header(text, "integrity_check_success", "1 when the last verification passed.");
    text += Format("integrity_check_success %1%\n", metrics.exitStatus == 0 ? 1 : 0);
    Header(text, "integrity_check_entries", "Objects of the last verification by kind and result.");
    for (std::size_t i = 0; i < kKindLabels.size(); ++i) {
        const ObjectCounts& counts = metrics.counts.at(i);
        const auto sample = [&](const char* result, std::uint64_t count) {
            text += Format("integrity_check_entries{kind=\"%1%\",result=\"%2%\"} %3%\n",
                           kKindLabels.at(i), result, std::to_string(count));
        };
        sample("succeeded", counts.succeeded);
        sample("failed", counts.failed);
        sample("skipped", counts.skipped);
    }
    Header(text, "integrity_check_duration_seconds", "Duration of the last verification.");
    text += "integrity_check_duration_seconds " + FixedSeconds(metrics.durationSeconds) + "\n";
    Header(text, "integrity_check_manifest_signature_verified",
           "1 when the manifest's signature was verified in the last verification.");
    for (const auto& [manifest, verified] : metrics.manifests) {
        text += Format("integrity_check_manifest_signature_verified{manifest=\"%1%\"} %2%\n",
                       LabelValue(manifest), verified ? 1 : 0);
    }
    Header(text, "integrity_check_info", "The checker's version.");
    text += Format("integrity_check_info{version=\"%1%\"} 1\n", LabelValue(metrics.version));
    return text;
}

}  // namespace integrity_check_tool
