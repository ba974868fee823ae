#pragma once

#include <memory>

namespace integrity_check_tool {

/// One thing the program can be asked to do.
class IAction {
public:
    virtual ~IAction() = default;
    /// Runs the action: true on success, false when it found a failure;
    /// errors are thrown.
    virtual bool Run() = 0;
};
using IActionPtr = std::shared_ptr<IAction>;

}  // namespace integrity_check_tool
