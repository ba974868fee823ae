#pragma once

#include <memory>
#include <string>

#include "enums.h"
#include "types.h"

namespace integrity_check_tool {

class ContentDigest;

/// Decides one fact about a file: returns when it holds, throws
/// check::VerificationMismatch when it does not, and lets any other error
/// through.
class IFileChecker {
public:
    virtual ~IFileChecker() = default;
    /// Checks the file as it is on disk.
    virtual void CheckFileValue(const Path& path) const { CheckFileValueWith(path, nullptr); }
    /// The same, given the digest of the file's content read ahead (null
    /// when none): a hash check of the digest's type takes it instead of
    /// reading the file, and meets a read failure kept in it at that point.
    virtual void CheckFileValueWith(const Path& path, const ContentDigest* digest) const = 0;
};
using IFileCheckerPtr = std::shared_ptr<const IFileChecker>;

/// The same for a registry value (`key` path, value name, expected type).
class IRegistryChecker {
public:
    virtual ~IRegistryChecker() = default;
    virtual void CheckRegistryValue(const std::string& key, const std::string& value,
                                    RegistryType type) const = 0;
};
using IRegistryCheckerPtr = std::shared_ptr<const IRegistryChecker>;

}  // namespace integrity_check_tool
