#pragma once

#include <memory>
#include <optional>
#include <string>

#include "action/statistics.h"
#include "enums.h"
#include "signature/signature_verifier.h"
#include "types.h"

namespace integrity_check_tool {

/// How an entry ended.
enum class EntryResult : std::uint32_t { Succeeded, Failed, Skipped };

/// One checked or skipped entry, as the console reports it.
struct EntryRecord {
    ObjectKind kind = ObjectKind::File;
    std::string path;
    /// The entry's check when it has exactly one.
    std::optional<CheckType> check;
    EntryResult result = EntryResult::Succeeded;
    /// The console's reason; empty for a succeeded entry.
    std::string reason;
    /// Expected and computed value or digest, for hash and value checks.
    std::optional<Blob> expected;
    std::optional<Blob> actual;
};

/// Observes a verification for the machine-readable report and the
/// metrics. Told everything on the main thread, in console order.
class IRunReport {
public:
    virtual ~IRunReport() = default;
    /// A manifest's signature check; `failure` holds the console's text when it failed.
    virtual void AddManifest(const std::string& path, const SignatureDetails& details,
                             const std::optional<std::string>& failure) = 0;
    /// An entry of the manifests, which are merged into the first given to AddManifest.
    virtual void AddEntry(const EntryRecord& entry) = 0;
    /// Writes the files asked for, for a run ending with `exitStatus` and
    /// the counts of `statistics`; throws Exception when one cannot be written.
    virtual void Finish(int exitStatus, const IStatistics& statistics) = 0;
};
using IRunReportPtr = std::shared_ptr<IRunReport>;

/// Where the report and the metrics go; empty when not asked for.
struct RunReportTargets {
    std::optional<Path> report;
    std::optional<Path> metrics;
};

/// The targets INTEGRITY_CHECK_REPORT and INTEGRITY_CHECK_METRICS name (unset or empty: none).
RunReportTargets RunReportTargetsFromEnvironment();

/// A report writing to `targets`; one that records nothing when there are none.
IRunReportPtr MakeRunReport(const RunReportTargets& targets, unsigned threads);

}  // namespace integrity_check_tool
