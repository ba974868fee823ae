#pragma once

#include <cstddef>
#include <vector>

#include <zel/tracer.h>

#include "action/action.h"
#include "action/processor.h"
#include "data_object/read_ahead.h"
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
    /// Checks one file entry; `item` is the read-ahead item of the next
    /// entry that has one, and passes it when this entry does.
    bool VerifyFile(const std::string& path, const CheckInfoList& checks, std::size_t& item);
    /// `item` is the read-ahead item of the directory's first entry with one.
    void VerifyDirectory(const DirectoryInfo& directory, std::size_t item);
    void VerifyRegistryKey(const RegistryKeyInfo& key);

    IFactoryPtr factory_;
    std::vector<Path> manifestPaths_;
    IProcessorPtr processor_;
    IReadAheadPtr readAhead_;  // null: the checks read the files themselves
};

}  // namespace integrity_check_tool::action
