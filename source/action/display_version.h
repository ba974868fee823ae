#pragma once

#include <zel/tracer.h>

#include "action/action.h"
#include "console.h"

namespace integrity_check_tool::action {

/// Prints the version line on standard output and traces the version of
/// the GOST provider behind signature verification.
class DisplayVersion final : public IAction, private zel::TracerProvider {
public:
    DisplayVersion(zel::ITracerPtr tracer, IConsolePtr console)
        : zel::TracerProvider(std::move(tracer)), console_(std::move(console))
    {
    }
    bool Run() override;

private:
    IConsolePtr console_;
};

}  // namespace integrity_check_tool::action
