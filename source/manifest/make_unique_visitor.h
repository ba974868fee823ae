#pragma once

#include "manifest/visitor.h"

namespace integrity_check_tool {

/// Sorts every list of the manifest and keeps one entry per key: environments
/// by key and value, files and directories by path, registry keys by path,
/// registry values by name and type, each with equal applicability; checks by
/// type and value. Duplicate directories and registry keys pool their files
/// and values into the survivor. Throws Exception "Mismatch check types found
/// for %1%" when duplicate files or registry values differ in their check types.
class MakeUniqueManifestVisitor final : public IVisitor {
public:
    void VisitManifest(Manifest& manifest) override;
    void VisitFile(FileInfo& file) override;
    void VisitDirectory(DirectoryInfo& directory) override;
    void VisitRegistryKey(RegistryKeyInfo& key) override;
    void VisitRegistryValue(RegistryValueInfo& value) override;
};

}  // namespace integrity_check_tool
