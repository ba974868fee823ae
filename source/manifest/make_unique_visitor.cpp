#include "manifest/make_unique_visitor.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <tuple>

#include "exception.h"
#include "manifest/manifest.h"

namespace integrity_check_tool {

namespace {

const Applicability& Conditions(const Applicability& entry)
{
    return entry;
}

/// Set of check types as a bit mask.
std::uint32_t CheckTypes(const CheckInfoList& checks)
{
    std::uint32_t types = 0;
    for (const CheckInfoPtr& check : checks) {
        types |= 1u << static_cast<std::uint32_t>(check->type);
    }
    return types;
}

/// Sorts `items` stably by `less` and erases each element equal to the one
/// kept before it, after handing the pair to `merge(kept, duplicate)`.
template <class T, class Less, class Equal, class MergeDuplicate>
void Collapse(std::vector<T>& items, Less less, Equal equal, MergeDuplicate merge)
{
    // Lists arrive sorted by path from loading, which is usually this order already.
    if (!std::is_sorted(items.begin(), items.end(), less)) {
        StableSortInPlace(items.begin(), items.end(), less);
    }
    if (items.empty()) {
        return;
    }
    auto kept = items.begin();
    for (auto it = std::next(kept); it != items.end(); ++it) {
        if (equal(*kept, *it)) {
            merge(*kept, *it);
        } else if (++kept != it) {
            *kept = std::move(*it);
        }
    }
    items.erase(std::next(kept), items.end());
}

auto NoMerge = [](auto&, auto&) {};

template <class Entry> bool SamePathAndConditions(const Entry& left, const Entry& right)
{
    return ComparePaths(left.path, right.path) == 0 && Conditions(left) == Conditions(right);
}

struct PathThenConditionsLess {
    template <class Entry> bool operator()(const Entry& left, const Entry& right) const
    {
        const int order = ComparePaths(left.path, right.path);
        return order != 0 ? order < 0 : Conditions(left) < Conditions(right);
    }

    template <class Iterator>
    std::vector<std::size_t> StableOrder(Iterator first, Iterator last) const
    {
        return SortPaths(first, last,
                         [first](std::size_t left, std::size_t right) {
                             return Conditions(first[static_cast<std::ptrdiff_t>(left)]) <
                                    Conditions(first[static_cast<std::ptrdiff_t>(right)]);
                         })
            .Order();
    }
};

void CollapseFiles(FileList& files)
{
    Collapse(files.Items(), PathThenConditionsLess{}, SamePathAndConditions<FileInfo>,
             [](const FileInfo& kept, const FileInfo& duplicate) {
                 if (CheckTypes(kept.checks) != CheckTypes(duplicate.checks)) {
                     ICT_THROW("Mismatch check types found for %1%", kept.path);
                 }
             });
}

void CollapseChecks(CheckInfoList& checks)
{
    Collapse(
        checks, [](const CheckInfoPtr& a, const CheckInfoPtr& b) { return *a < *b; },
        [](const CheckInfoPtr& a, const CheckInfoPtr& b) { return *a == *b; }, NoMerge);
}

}  // namespace

void MakeUniqueManifestVisitor::VisitManifest(Manifest& manifest)
{
    Collapse(
        manifest.environments,
        [](const EnvironmentInfo& a, const EnvironmentInfo& b) {
            // Stable, so that of two definitions of one name the later still wins.
            return std::tie(a.key, Conditions(a)) < std::tie(b.key, Conditions(b));
        },
        [](const EnvironmentInfo& a, const EnvironmentInfo& b) { return a == b; }, NoMerge);
    CollapseFiles(manifest.files);
    Collapse(manifest.directories, PathThenConditionsLess{}, SamePathAndConditions<DirectoryInfo>,
             [](DirectoryInfo& kept, DirectoryInfo& duplicate) {
                 kept.files.InsertAll(std::move(duplicate.files.Items()));
             });
    Collapse(
        manifest.registries,
        [](const RegistryKeyInfo& a, const RegistryKeyInfo& b) {
            return std::tie(a.path, Conditions(a)) < std::tie(b.path, Conditions(b));
        },
        [](const RegistryKeyInfo& a, const RegistryKeyInfo& b) {
            return a.path == b.path && Conditions(a) == Conditions(b);
        },
        [](RegistryKeyInfo& kept, RegistryKeyInfo& duplicate) {
            kept.values.InsertAll(std::move(duplicate.values.Items()));
        });
}

void MakeUniqueManifestVisitor::VisitFile(FileInfo& file)
{
    CollapseChecks(file.checks);
}

void MakeUniqueManifestVisitor::VisitDirectory(DirectoryInfo& directory)
{
    CollapseFiles(directory.files);
}

void MakeUniqueManifestVisitor::VisitRegistryKey(RegistryKeyInfo& key)
{
    Collapse(
        key.values.Items(),
        [](const RegistryValueInfo& a, const RegistryValueInfo& b) {
            return std::tie(a.name, a.type, Conditions(a)) <
                   std::tie(b.name, b.type, Conditions(b));
        },
        [](const RegistryValueInfo& a, const RegistryValueInfo& b) {
            return a.name == b.name && a.type == b.type && Conditions(a) == Conditions(b);
        },
        [&key](const RegistryValueInfo& kept, const RegistryValueInfo& duplicate) {
            if (CheckTypes(kept.checks) != CheckTypes(duplicate.checks)) {
                ICT_THROW("Mismatch check types found for %1%", key.path + " " + kept.name);
            }
        });
}

void MakeUniqueManifestVisitor::VisitRegistryValue(RegistryValueInfo& value)
{
    CollapseChecks(value.checks);
}

}  // namespace integrity_check_tool
