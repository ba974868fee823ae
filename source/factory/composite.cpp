#include "factory/composite.h"

namespace integrity_check_tool {

bool Composite::Run()
{
    bool succeeded = true;
    for (const IActionPtr& action : actions_) {
        succeeded = action->Run() && succeeded;
    }
    return succeeded;
}

}  // namespace integrity_check_tool
