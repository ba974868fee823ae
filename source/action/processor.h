#pragma once

#include <functional>
#include <memory>
#include <string>

#include <zel/tracer.h>

#include "action/statistics.h"
#include "console.h"
#include "forward.h"
#include "manifest/manifest.h"
#include "manifest/visitor.h"

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
    /// `filter` and `statistics` may be null: then nothing is filtered or counted.
    Processor(zel::ITracerPtr tracer, IConsolePtr console, IFilterPtr filter,
              IStatisticsPtr statistics);

    bool ProcessFile(const std::string& name, const Work& work) override;
    bool ProcessDirectory(const std::string& name, const Work& work) override;
    bool ProcessManifest(const std::string& name, const Work& work) override;
    bool ProcessRegistryKey(const std::string& name, const Work& work) override;
    bool ProcessRegistryValue(const std::string& name, const Work& work) override;
    bool IsFiltered(ObjectKind kind, const Applicability& entry, const std::string& name) override;
    void Filter(Manifest& manifest) override;

private:
    bool Process(ObjectKind kind, const std::string& name, const Work& work);

    void VisitManifest(Manifest& manifest) override;
    void VisitDirectory(DirectoryInfo& directory) override;
    void VisitRegistryKey(RegistryKeyInfo& key) override;

    IConsolePtr console_;
    IFilterPtr filter_;
    IStatisticsPtr statistics_;
};

}  // namespace integrity_check_tool
