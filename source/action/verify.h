#pragma once

#include <vector>

#include <zel/tracer.h>

#include "action/action.h"
#include "action/processor.h"
#include "factory/factory.h"

namespace integrity_check_tool::action {

/// Verifies the installation against one or more signed manifests.
class Verify final : public IAction, private zel::TracerProvider {
public:
    /// `manifestPaths` is not empty; the first is the merge target.
    Verify(zel::ITracerPtr tracer, IFactoryPtr factory, std::vector<Path> manifestPaths);

    /// Loads, merges, expands and filters the manifests, checks every entry
    /// and writes the summary; false when any object failed.
    bool Run() override;

private:
    void VerifyManifest(std::vector<Manifest>& manifests);
    bool VerifyFile(const std::string& path, const CheckInfoList& checks);
    void VerifyDirectory(const DirectoryInfo& directory);
    void VerifyRegistryKey(const RegistryKeyInfo& key);

    IFactoryPtr factory_;
    std::vector<Path> manifestPaths_;
    IProcessorPtr processor_;
};

}  // namespace integrity_check_tool::action
