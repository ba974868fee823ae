#pragma once

#include <zel/tracer.h>

#include "action/action.h"
#include "console.h"
#include "factory/factory.h"

namespace integrity_check_tool::action {

/// Prints one value of one file (a digest or the raw content) in base64.
class CheckSingleFile final : public IAction, private zel::TracerProvider {
public:
    CheckSingleFile(Path filePath, CheckType checkType, IFactoryPtr factory, zel::ITracerPtr tracer,
                    IConsolePtr console);

    bool Run() override;

private:
    Path filePath_;
    CheckType checkType_;
    IFactoryPtr factory_;
    IConsolePtr console_;
};

}  // namespace integrity_check_tool::action
