#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "zel/ref_counted.h"
#include "zel/result.h"

namespace zel {

/// Read access to environment variables; the real one is the process
/// environment, tests pass a map.
class IEnvironmentVariables : public RefCounted {
public:
    /// The variable's value, or nothing when it is not defined.
    virtual std::optional<std::string> Get(const std::string& name) const = 0;
};
using IEnvironmentVariablesPtr = intrusive_ptr<IEnvironmentVariables>;

IEnvironmentVariablesPtr CreateProcessEnvironment();

/// Replaces every "%NAME%" by the non-empty value of variable NAME.
/// Returns kOk when every placeholder was replaced and kFalse when some
/// were left as written.
Result ExpandEnvironmentStrings(std::string_view text, std::string& expanded,
                                const IEnvironmentVariables& variables);

}  // namespace zel
