#pragma once

namespace integrity_check_tool {

struct Manifest;
struct FileInfo;
struct DirectoryInfo;
struct RegistryKeyInfo;
struct RegistryValueInfo;

/// A pass over a manifest driven by Manifest::Accept. Every visit does
/// nothing by default. A visit may edit the object it is given and erase
/// entries from that object's own lists (never from its parent's).
class IVisitor {
public:
    virtual ~IVisitor() = default;

    virtual void VisitManifest(Manifest&) {}
    virtual void VisitFile(FileInfo&) {}
    virtual void VisitDirectory(DirectoryInfo&) {}
    virtual void VisitRegistryKey(RegistryKeyInfo&) {}
    virtual void VisitRegistryValue(RegistryValueInfo&) {}
};

}  // namespace integrity_check_tool
