#pragma once

#include <string>

#include "exception.h"
#include "vorn/result.h"

namespace integrity_check_tool::vorn {

/// A failed key-management step: its description is "<step>: <message of
/// the code>".
class Exception : public integrity_check_tool::Exception {
public:
    Exception(const std::string& step, Result code);

    const std::string& GetStep() const noexcept { return step_; }
    Result GetCode() const noexcept { return code_; }

private:
    std::string step_;
    Result code_;
};

}  // namespace integrity_check_tool::vorn

/// Throws vorn::Exception for `step` and `code` with the throw location.
#define VORN_THROW(step, code)                                                                     \
    BOOST_THROW_EXCEPTION(::integrity_check_tool::vorn::Exception((step), (code)))
