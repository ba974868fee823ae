#include "manifest/expand_visitor.h"

#include "manifest/environment.h"
#include "manifest/filter.h"
#include "manifest/manifest.h"

namespace integrity_check_tool {

namespace {

void ExpandPaths(const IEnvironment& environment, FileList& files)
{
    for (FileInfo& file : files) {
        file.path = environment.Expand(file.path);
    }
    files.Reorder();
}

}  // namespace

ExpandVariablesManifestVisitor::ExpandVariablesManifestVisitor(IEnvironment& environment,
                                                               IFilterPtr filter)
    : environment_(environment), filter_(std::move(filter))
{
}

void ExpandVariablesManifestVisitor::VisitManifest(Manifest& manifest)
{
    for (const EnvironmentInfo& variable : manifest.environments) {
        if (filter_ && filter_->IsFiltered(variable, variable.key)) {
            continue;
        }
        environment_.SetValue(variable.key, environment_.Expand(variable.value));
    }
    ExpandPaths(environment_, manifest.files);
    for (DirectoryInfo& directory : manifest.directories) {
        directory.path = environment_.Expand(directory.path);
    }
    for (RegistryKeyInfo& key : manifest.registries) {
        key.path = environment_.Expand(key.path);
    }
}

void ExpandVariablesManifestVisitor::VisitDirectory(DirectoryInfo& directory)
{
    ExpandPaths(environment_, directory.files);
}

}  // namespace integrity_check_tool
