#pragma once

#include <optional>
#include <string>
#include <vector>

#include "enums.h"
#include "exception.h"
#include "types.h"

namespace integrity_check_tool::check {

/// The checked fact does not hold.
class VerificationMismatch : public Exception {
public:
    /// `actual` is the value or digest found, when one was computed.
    VerificationMismatch(CheckType type, const std::string& reason,
                         std::optional<Blob> actual = std::nullopt);

    const std::optional<Blob>& Actual() const noexcept { return actual_; }

private:
    std::optional<Blob> actual_;
};

/// Every alternative of an AnyOf failed; lists their failures in the order tried.
class AllChecksFailedException : public Exception {
public:
    explicit AllChecksFailedException(const std::vector<std::string>& failures);
};

}  // namespace integrity_check_tool::check
