#pragma once

#include <cstddef>
#include <optional>
#include <string>
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
    /// One file entry as its check sees it: the expanded path, the checks
    /// and, when its digest is read ahead, its index in the read-ahead.
    struct FileEntry {
        std::string path;
        const CheckInfoList* checks = nullptr;
        std::optional<std::size_t> item;
    };

    void VerifyManifest(std::vector<Manifest>& manifests);
    /// Merges the others into the first, removes repeated entries, expands
    /// placeholders and drops what does not apply here.
    void PrepareManifest(std::vector<Manifest>& manifests);
    bool VerifyFile(const FileEntry& file);
    void VerifyDirectory(const std::string& path, const std::vector<FileEntry>& files);
    void VerifyRegistryKey(const RegistryKeyInfo& key);

    IFactoryPtr factory_;
    std::vector<Path> manifestPaths_;
    IProcessorPtr processor_;
    IReadAheadPtr readAhead_;  // null: the checks read the files themselves
};

}  // namespace integrity_check_tool::action
