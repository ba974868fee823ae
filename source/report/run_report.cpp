#include "report/run_report.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <utility>
#include <vector>

#include "exception.h"
#include "format.h"
#include "report/json_text.h"
#include "report/metrics_text.h"
#include "utils/atomic_file.h"
#include "utils/base64.h"
#include "utils/utils.h"

namespace integrity_check_tool {

namespace {

using Clock = std::chrono::system_clock;

constexpr std::array<const char*, 5> kKindNames{"manifest", "file", "directory", "registry key",
                                                "registry value"};

const char* KindText(ObjectKind kind)
{
    return kKindNames.at(static_cast<std::size_t>(kind));
}

const char* ResultText(EntryResult result)
{
    switch (result) {
    case EntryResult::Succeeded:
        return "succeeded";
    case EntryResult::Failed:
        return "failed";
    case EntryResult::Skipped:
        return "skipped";
    }
    return "failed";
}

/// RFC 3339 UTC text of a Unix time, with milliseconds when `millis` is set.
std::string TimeText(std::int64_t seconds, std::optional<int> millis = std::nullopt)
{
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    std::array<char, 32> text{};
    if (gmtime_r(&time, &parts) == nullptr ||
        std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts) == 0) {
        return "1970-01-01T00:00:00Z";
    }
    return millis ? Format("%1%.%2$03d%3%", text.data(), *millis, "Z")
                  : std::string(text.data()) + "Z";
}

std::string TimeText(Clock::time_point point)
{
    const auto millis =
        std::chrono::duration_cast<std::chrono::milliseconds>(point.time_since_epoch()).count();
    return TimeText(millis / 1000, static_cast<int>(millis % 1000));
}

double UnixSeconds(Clock::time_point point)
{
    return std::chrono::duration<double>(point.time_since_epoch()).count();
}

std::string HostName()
{
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) != 0) {
        return {};
    }
    return name.data();
}

std::string MachineId()
{
    std::ifstream file("/etc/machine-id");
    std::string id;
    std::getline(file, id);
    return id;
}

/// One JSON object built member by member; keys are plain ASCII.
class JsonObject {
public:
    JsonObject() { text_.reserve(256); }

    JsonObject& Text(const char* key, std::string_view value)
    {
        Key(key);
        AppendJsonString(text_, value);
        return *this;
    }
    JsonObject& Raw(const char* key, std::string_view json)
    {
        Key(key);
        text_ += json;
        return *this;
    }
    /// A path as "path" (valid UTF-8) and, when that lost bytes, "path_base64".
    JsonObject& Path(const std::string& path)
    {
        Text("path", path);
        if (!IsValidUtf8(path)) {
            Text("path_base64", Base64Encode(Blob(path.begin(), path.end())));
        }
        return *this;
    }
    std::string Object() const { return text_.empty() ? "{}" : text_ + "}"; }
    /// Appends the object and a line feed to `lines`.
    void AppendLine(std::string& lines) const
    {
        lines += text_.empty() ? "{" : text_;
        lines += "}\n";
    }

private:
    void Key(const char* key)
    {
        text_ += text_.empty() ? "{\"" : ",\"";
        text_ += key;
        text_ += "\":";
    }

    std::string text_;
};

std::string JsonArray(const std::vector<std::string>& texts)
{
    std::string json = "[";
    for (const std::string& text : texts) {
        json += (json.size() > 1 ? "," : "") + JsonString(text);
    }
    return json + "]";
}

/// Asked for neither file: nothing to record.
class NullRunReport final : public IRunReport {
public:
    void AddManifest(const std::string& /*path*/, const SignatureDetails& /*details*/,
                     const std::optional<std::string>& /*failure*/) override
    {
    }
    void AddEntry(const EntryRecord& /*entry*/) override {}
    void Finish(int /*exitStatus*/, const IStatistics& /*statistics*/) override {}
};

/// Keeps the records in memory, so that an unwritable target costs the
/// check nothing, and writes each file whole at the end.
class RunReport final : public IRunReport {
public:
    RunReport(RunReportTargets targets, unsigned threads)
        : targets_(std::move(targets)), threads_(threads), start_(Clock::now()),
          startSteady_(std::chrono::steady_clock::now())
    {
    }

    void AddManifest(const std::string& path, const SignatureDetails& details,
                     const std::optional<std::string>& failure) override
    {
        // Later manifests merge into the first, which the entries then belong to.
        if (manifest_.empty()) {
            manifest_ = JsonString(path);
        }
        manifests_.emplace_back(path, !failure);
        if (!targets_.report) {
            return;
        }
        JsonObject record;
        record.Text("record", "manifest")
            .Path(path)
            .Text("signature_type", details.type)
            .Text("result", failure ? "failed" : "verified");
        if (failure) {
            record.Text("message", *failure);
        }
        record.Raw("flags", JsonArray(details.flags));
        if (details.signer) {
            record.Raw("signer", SignerJson(*details.signer));
        }
        if (details.timestamp) {
            record.Text("timestamp", TimeText(*details.timestamp));
        }
        record.AppendLine(lines_);
    }

    void AddEntry(const EntryRecord& entry) override
    {
        if (!targets_.report) {
            return;
        }
        JsonObject record;
        record.Text("record", "entry")
            .Raw("manifest", manifest_)
            .Text("kind", KindText(entry.kind))
            .Path(entry.path);
        if (entry.check) {
            record.Text("check", ToName(*entry.check));
        }
        record.Text("result", ResultText(entry.result));
        if (entry.result != EntryResult::Succeeded) {
            record.Text("reason", entry.reason);
        }
        std::string expected;
        if (entry.expected) {
            expected = Base64Encode(*entry.expected);
            record.Text("expected", expected);
        }
        if (entry.actual) {
            record.Text("actual",
                        entry.actual == entry.expected ? expected : Base64Encode(*entry.actual));
        }
        record.AppendLine(lines_);
    }

    void Finish(int exitStatus, const IStatistics& statistics) override
    {
        const Clock::time_point end = Clock::now();
        const double duration =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - startSteady_).count();
        RunMetrics metrics{UnixSeconds(end), duration, exitStatus, {}, manifests_, Version()};
        JsonObject counts;
        for (std::size_t i = 0; i < kKindNames.size(); ++i) {
            const ObjectCounts& kind = statistics.Get(static_cast<ObjectKind>(i));
            metrics.counts.at(i) = kind;
            counts.Raw(kKindNames.at(i), JsonObject()
                                             .Raw("succeeded", std::to_string(kind.succeeded))
                                             .Raw("failed", std::to_string(kind.failed))
                                             .Raw("skipped", std::to_string(kind.skipped))
                                             .Object());
        }
        JsonObject summary;
        summary.Text("record", "summary")
            .Raw("counts", counts.Object())
            .Raw("exit_status", std::to_string(exitStatus))
            .Text("start", TimeText(start_))
            .Text("end", TimeText(end))
            .Raw("duration_seconds", FixedSeconds(duration))
            .Raw("threads", std::to_string(threads_))
            .Text("version", metrics.version)
            .Text("host", HostName())
            .Text("machine_id", MachineId());
        summary.AppendLine(lines_);

        // Both files are attempted; the first failure is the one reported.
        std::optional<std::string> failure;
        WriteTarget("report", targets_.report, lines_, failure);
        WriteTarget("metrics", targets_.metrics, MetricsText(metrics), failure);
        if (failure) {
            ICT_THROW("%1%", *failure);
        }
    }

private:
    static std::string SignerJson(const SignatureDetails::Signer& signer)
    {
        return JsonObject()
            .Text("subject", signer.subject)
            .Text("serial", signer.serial)
            .Text("not_after", TimeText(signer.notAfter))
            .Object();
    }

    static std::string Version()
    {
        const std::string line = VersionLine();
        const std::size_t space = line.find(' ');
        return space == std::string::npos ? line : line.substr(space + 1);
    }

    static void WriteTarget(const char* what, const std::optional<Path>& target,
                            const std::string& text, std::optional<std::string>& failure)
    {
        if (!target) {
            return;
        }
        try {
            AtomicFile file(*target);
            file.Write(text);
            file.Commit();
        } catch (...) {
            if (!failure) {
                failure = Format("The %1% was not written: %2%", what, CurrentExceptionMessage());
            }
        }
    }

    RunReportTargets targets_;
    unsigned threads_;
    Clock::time_point start_;
    std::chrono::steady_clock::time_point startSteady_;
    std::string manifest_;  ///< the JSON string of the manifest the entries belong to
    std::vector<std::pair<std::string, bool>> manifests_;
    std::string lines_;
};

std::optional<Path> Target(const char* variable)
{
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0' ? std::optional<Path>(value) : std::nullopt;
}

}  // namespace

RunReportTargets RunReportTargetsFromEnvironment()
{
    return RunReportTargets{Target("INTEGRITY_CHECK_REPORT"), Target("INTEGRITY_CHECK_METRICS")};
}

IRunReportPtr MakeRunReport(const RunReportTargets& targets, unsigned threads)
{
    if (!targets.report && !targets.metrics) {
        return std::make_shared<NullRunReport>();
    }
    return std::make_shared<RunReport>(targets, threads);
}

}  // namespace integrity_check_tool
