#pragma once

#include "check/check_base.h"
#include "data_object/value_provider.h"

namespace integrity_check_tool::check {

/// Passes when the object's raw content equals the expected bytes.
class Value final : public CheckBase {
public:
    Value(zel::ITracerPtr tracer, IFactoryPtr factory, IValueProviderPtr provider, Blob expected)
        : CheckBase(std::move(tracer), std::move(factory)), provider_(std::move(provider)),
          expected_(std::move(expected))
    {
    }

protected:
    void Check(IDataObject& object, const Subject& subject, bool registry) const override;

private:
    IValueProviderPtr provider_;
    Blob expected_;
};

}  // namespace integrity_check_tool::check
