#pragma once

#include "check/check_base.h"

namespace integrity_check_tool::check {

/// Passes when the object does not exist.
class NotExists final : public CheckBase {
public:
    NotExists(zel::ITracerPtr tracer, IFactoryPtr factory)
        : CheckBase(std::move(tracer), std::move(factory))
    {
    }

protected:
    void Check(IDataObject& object, const Subject& subject, bool registry) const override;
};

}  // namespace integrity_check_tool::check
