#pragma once

#include <vector>

#include "action/action.h"

namespace integrity_check_tool {

/// Runs several actions in order; succeeds when every one succeeded. Every
/// action runs even after an earlier one failed.
class Composite final : public IAction {
public:
    void Add(IActionPtr action) { actions_.push_back(std::move(action)); }
    bool Run() override;

private:
    std::vector<IActionPtr> actions_;
};

}  // namespace integrity_check_tool
