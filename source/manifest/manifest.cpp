#include "manifest/manifest.h"

#include <algorithm>
#include <iterator>

#include "manifest/visitor.h"

namespace integrity_check_tool {

bool ChecksEqual(const CheckInfoList& left, const CheckInfoList& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const CheckInfoPtr& a, const CheckInfoPtr& b) {
                          return a == b || (a && b && *a == *b);
                      });
}

bool operator==(const FileInfo& left, const FileInfo& right)
{
    return static_cast<const Applicability&>(left) == right && left.path == right.path &&
           ChecksEqual(left.checks, right.checks);
}

bool operator==(const RegistryValueInfo& left, const RegistryValueInfo& right)
{
    return static_cast<const Applicability&>(left) == right && left.name == right.name &&
           left.type == right.type && ChecksEqual(left.checks, right.checks);
}

void Manifest::Accept(IVisitor& visitor)
{
    visitor.VisitManifest(*this);
    for (FileInfo& file : files) {
        visitor.VisitFile(file);
    }
    for (DirectoryInfo& directory : directories) {
        visitor.VisitDirectory(directory);
        for (FileInfo& file : directory.files) {
            visitor.VisitFile(file);
        }
    }
    for (RegistryKeyInfo& key : registries) {
        visitor.VisitRegistryKey(key);
        for (RegistryValueInfo& value : key.values) {
            visitor.VisitRegistryValue(value);
        }
    }
}

namespace {

template <class T> void Append(std::vector<T>& target, std::vector<T>&& source)
{
    target.insert(target.end(), std::make_move_iterator(source.begin()),
                  std::make_move_iterator(source.end()));
}

}  // namespace

void Manifest::Merge(Manifest&& other)
{
    Append(environments, std::move(other.environments));
    files.InsertAll(std::move(other.files.Items()));
    Append(directories, std::move(other.directories));
    Append(registries, std::move(other.registries));
    other = Manifest{};
}

}  // namespace integrity_check_tool
