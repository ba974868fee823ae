#pragma once

#include "check/check_base.h"
#include "data_object/value_provider.h"

namespace integrity_check_tool::check {

/// Passes when the digest of the object's content equals the expected one;
/// the check type ("Sha256" or "Gost2012") names the algorithm.
class Hash final : public CheckBase {
public:
    Hash(zel::ITracerPtr tracer, IFactoryPtr factory, IValueProviderPtr provider, CheckType type,
         Blob expected)
        : CheckBase(std::move(tracer), std::move(factory)), provider_(std::move(provider)),
          type_(type), expected_(std::move(expected))
    {
    }

protected:
    void Check(IDataObject& object, const Subject& subject, bool registry) const override;

private:
    IValueProviderPtr provider_;
    CheckType type_;
    Blob expected_;
};

}  // namespace integrity_check_tool::check
