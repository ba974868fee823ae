#pragma once

#include <string>
#include <vector>

#include "enums.h"
#include "exception.h"

namespace integrity_check_tool::check {

/// The checked fact does not hold.
class VerificationMismatch : public Exception {
public:
    VerificationMismatch(CheckType type, const std::string& reason);
};

/// Every alternative of an AnyOf failed; lists their failures in the order tried.
class AllChecksFailedException : public Exception {
public:
    explicit AllChecksFailedException(const std::vector<std::string>& failures);
};

}  // namespace integrity_check_tool::check
