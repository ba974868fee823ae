#pragma once

#include "action/action.h"
#include "console.h"

namespace integrity_check_tool::action {

/// Prints the version line on standard output.
class DisplayVersion final : public IAction {
public:
    explicit DisplayVersion(IConsolePtr console) : console_(std::move(console)) {}
    bool Run() override;

private:
    IConsolePtr console_;
};

}  // namespace integrity_check_tool::action
