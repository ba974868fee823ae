#pragma once

#include "check/check_base.h"

namespace integrity_check_tool::check {

/// Passes when the object exists.
class Exists final : public CheckBase {
public:
    Exists(zel::ITracerPtr tracer, IFactoryPtr factory)
        : CheckBase(std::move(tracer), std::move(factory))
    {
    }

protected:
    void Check(IDataObject& object, const Subject& subject, bool registry) const override;
};

}  // namespace integrity_check_tool::check
