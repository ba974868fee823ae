#pragma once

#include <exception>
#include <utility>

#include "enums.h"
#include "types.h"

namespace integrity_check_tool {

/// The digest of one file's content, taken ahead of its check: the digest
/// of the `Type()` algorithm, or what reading the file threw. The error is
/// kept so that it surfaces where the check would have read the file.
class ContentDigest final {
public:
    ContentDigest(CheckType type, Blob digest) : type_(type), digest_(std::move(digest)) {}
    ContentDigest(CheckType type, std::exception_ptr error) : type_(type), error_(std::move(error))
    {
    }

    CheckType Type() const noexcept { return type_; }

    /// The digest; rethrows what reading the file threw.
    const Blob& Value() const
    {
        if (error_) {
            std::rethrow_exception(error_);
        }
        return digest_;
    }

private:
    CheckType type_;
    Blob digest_;
    std::exception_ptr error_;
};

}  // namespace integrity_check_tool
