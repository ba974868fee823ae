#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <zel/tracer.h>

#include "action/statistics.h"
#include "console.h"
#include "forward.h"
#include "manifest/manifest.h"
#include "manifest/visitor.h"
#include "report/run_report.h"

namespace integrity_check_tool {

/// Runs units of work on manifest objects: every exception of a unit
/// becomes a reported failure, and each object is counted.
class IProcessor {
public:
    using Work = std::function<void()>;

    virtual ~IProcessor() = default;
    /// Runs `work` for the object `name`; true when it returned normally.
    /// Never lets an exception of `work` escape.
    virtual bool ProcessFile(const std::string& name, const Work& work) = 0;
    virtual bool ProcessDirectory(const std::string& name, const Work& work) = 0;
    virtual bool ProcessManifest(const std::string& name, const Work& work) = 0;
    virtual bool ProcessRegistryKey(const std::string& name, const Work& work) = 0;
    virtual bool ProcessRegistryValue(const std::string& name, const Work& work) = 0;
    /// The same for an entry checked with `checks`, which the report names.
    virtual bool ProcessFile(const std::string& name, const CheckInfoList& checks,
                             const Work& work) = 0;
    virtual bool ProcessRegistryValue(const std::string& name, const CheckInfoList& checks,
                                      const Work& work) = 0;
    /// True when the entry does not apply to the system; it is then
    /// reported and counted as skipped.
    virtual bool IsFiltered(ObjectKind kind, const Applicability& entry,
                            const std::string& name) = 0;
    /// Removes the entries of `manifest` that do not apply to the system,
    /// counting each as skipped.
    virtual void Filter(Manifest& manifest) = 0;
};
using IProcessorPtr = std::shared_ptr<IProcessor>;

class Processor final : public IProcessor, private IVisitor, private zel::TracerProvider {
public:
    /// `filter`, `statistics` and `report` may be null: then nothing is
    /// filtered, counted or reported.
    Processor(zel::ITracerPtr tracer, IConsolePtr console, IFilterPtr filter,
              IStatisticsPtr statistics, IRunReportPtr report = nullptr);

    bool ProcessFile(const std::string& name, const Work& work) override;
    bool ProcessDirectory(const std::string& name, const Work& work) override;
    bool ProcessManifest(const std::string& name, const Work& work) override;
    bool ProcessRegistryKey(const std::string& name, const Work& work) override;
    bool ProcessRegistryValue(const std::string& name, const Work& work) override;
    bool ProcessFile(const std::string& name, const CheckInfoList& checks,
                     const Work& work) override;
    bool ProcessRegistryValue(const std::string& name, const CheckInfoList& checks,
                              const Work& work) override;
    bool IsFiltered(ObjectKind kind, const Applicability& entry, const std::string& name) override;
    void Filter(Manifest& manifest) override;

private:
    bool Process(ObjectKind kind, const std::string& name, const Work& work,
                 const CheckInfoList* checks = nullptr);
    /// Tells the report how an entry ended; `actual` is what a failed check computed.
    void Report(ObjectKind kind, const std::string& name, const CheckInfoList* checks,
                EntryResult result, const std::string& reason,
                const std::optional<Blob>& actual) const;

    void VisitManifest(Manifest& manifest) override;
    void VisitDirectory(DirectoryInfo& directory) override;
    void VisitRegistryKey(RegistryKeyInfo& key) override;

    IConsolePtr console_;
    IFilterPtr filter_;
    IStatisticsPtr statistics_;
    IRunReportPtr report_;
};

}  // namespace integrity_check_tool
