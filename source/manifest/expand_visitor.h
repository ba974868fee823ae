#pragma once

#include "forward.h"
#include "manifest/visitor.h"

namespace integrity_check_tool {

class IEnvironment;

/// Stores the manifest's environment entries (those that apply, in list
/// order, each value expanded first) and expands the paths of files,
/// directories and registry keys against them. Unknown placeholders stay.
class ExpandVariablesManifestVisitor final : public IVisitor {
public:
    /// `filter` may be null: then every environment entry is stored.
    ExpandVariablesManifestVisitor(IEnvironment& environment, IFilterPtr filter);

    void VisitManifest(Manifest& manifest) override;
    void VisitDirectory(DirectoryInfo& directory) override;

private:
    IEnvironment& environment_;
    IFilterPtr filter_;
};

}  // namespace integrity_check_tool
