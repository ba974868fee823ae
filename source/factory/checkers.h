#pragma once

#include <memory>

#include <zel/tracer.h>

#include "enums.h"
#include "forward.h"

namespace integrity_check_tool {

namespace check {
class AnyOf;
class CheckBase;
}  // namespace check

/// The checker for `check`, chosen by its check type; it asks `factory` for
/// its value provider now and for data objects when it runs. Throws
/// Exception for an unknown type.
std::shared_ptr<check::CheckBase> MakeChecker(const CheckInfo& check, const zel::ITracerPtr& tracer,
                                              const IFactoryPtr& factory);

/// `check::AnyOf` over `checks` in their order, alternatives named
/// "<type> #<position>".
std::shared_ptr<check::AnyOf> MakeAnyOf(const CheckInfoList& checks, const zel::ITracerPtr& tracer,
                                        const IFactoryPtr& factory);

/// The value provider a check of `type` compares: empty, raw content or a
/// digest. Throws Exception for an unknown type.
IValueProviderPtr MakeValueProvider(CheckType type, const zel::ITracerPtr& tracer);

}  // namespace integrity_check_tool
