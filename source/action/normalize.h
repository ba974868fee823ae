#pragma once

#include <zel/tracer.h>

#include "action/action.h"
#include "factory/factory.h"

namespace integrity_check_tool::action {

/// Rewrites a manifest file in canonical form: the writer's element order,
/// duplicates collapsed. Neither signatures nor placeholders are touched.
class Normalize final : public IAction, private zel::TracerProvider {
public:
    Normalize(zel::ITracerPtr tracer, Path manifestPath, IFactoryPtr factory);

    bool Run() override;

private:
    Path manifestPath_;
    IFactoryPtr factory_;
    IStoragePtr storage_;
};

}  // namespace integrity_check_tool::action
