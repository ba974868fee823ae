#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "enums.h"
#include "forward.h"
#include "manifest/applicability.h"
#include "manifest/path_order.h"
#include "manifest/sorted_list.h"
#include "types.h"

namespace integrity_check_tool {

class IVisitor;

/// One expected property of a file or registry value.
struct CheckInfo {
    CheckType type = CheckType::Exists;
    /// Expected hash or raw content; empty for Exists and NotExists.
    Blob value;

    friend auto operator<=>(const CheckInfo&, const CheckInfo&) = default;
};

/// True when both lists hold equal checks in the same order.
bool ChecksEqual(const CheckInfoList& left, const CheckInfoList& right);

/// A placeholder variable defined by the manifest.
struct EnvironmentInfo : Applicability {
    std::string key;
    std::string value;

    friend bool operator==(const EnvironmentInfo&, const EnvironmentInfo&) = default;
};

/// A file with its checks; inside a directory the path is relative to it.
struct FileInfo : Applicability {
    std::string path;
    CheckInfoList checks;

    friend bool operator==(const FileInfo& left, const FileInfo& right);
};

/// Orders files by filesystem path comparison.
struct FilePathLess {
    bool operator()(const FileInfo& left, const FileInfo& right) const noexcept
    {
        return ComparePaths(left.path, right.path) < 0;
    }

    template <class Iterator>
    std::vector<std::size_t> StableOrder(Iterator first, Iterator last) const
    {
        return SortPaths(first, last, [](std::size_t, std::size_t) { return false; }).Order();
    }
};
using FileList = SortedList<FileInfo, FilePathLess>;

/// A directory with the files under it.
struct DirectoryInfo : Applicability {
    std::string path;
    FileList files;

    friend bool operator==(const DirectoryInfo&, const DirectoryInfo&) = default;
};

/// A registry value with its checks.
struct RegistryValueInfo : Applicability {
    std::string name;
    RegistryType type = RegistryType::Binary;
    CheckInfoList checks;

    friend bool operator==(const RegistryValueInfo& left, const RegistryValueInfo& right);
};

/// Orders registry values by name, byte-wise.
struct RegistryValueNameLess {
    bool operator()(const RegistryValueInfo& left, const RegistryValueInfo& right) const noexcept
    {
        return left.name < right.name;
    }
};
using RegistryValueList = SortedList<RegistryValueInfo, RegistryValueNameLess>;

/// A registry key with its values.
struct RegistryKeyInfo : Applicability {
    std::string path;
    RegistryValueList values;

    friend bool operator==(const RegistryKeyInfo&, const RegistryKeyInfo&) = default;
};

/// The whole manifest; owns its entries by value, shares its checks.
struct Manifest {
    std::string productName;
    std::string productVersion;
    std::string generationDateTime;
    std::vector<EnvironmentInfo> environments;
    FileList files;
    std::vector<DirectoryInfo> directories;
    std::vector<RegistryKeyInfo> registries;

    /// Calls `visitor` on the manifest, then on each of its files, each
    /// directory and the directory's files, each registry key and its values.
    /// A visit may erase entries from the containers of the object it visits;
    /// only what is left is visited next.
    void Accept(IVisitor& visitor);

    /// Appends the entries of `other` (files keep their order by path; other
    /// lists append). Duplicates stay until MakeUniqueManifestVisitor runs.
    void Merge(Manifest&& other);

    friend bool operator==(const Manifest&, const Manifest&) = default;
};

}  // namespace integrity_check_tool
