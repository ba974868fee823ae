#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include <zel/environment.h>
#include <zel/tracer.h>

#include "forward.h"
#include "types.h"

namespace integrity_check_tool {

/// Placeholder variables of one manifest. Every name may be given bare
/// ("Bin") or as a placeholder ("%Bin%"). The process environment takes
/// precedence over the table.
class IEnvironment {
public:
    virtual ~IEnvironment() = default;

    /// Defines or redefines a variable; throws Exception for a malformed
    /// name or an empty value.
    virtual void SetValue(const std::string& name, const std::string& value) = 0;
    /// The variable's value; throws Exception "Unknown environment variable %1%".
    virtual std::string GetValue(const std::string& name) const = 0;
    /// Replaces every %Name% in one pass; throws as GetValue for an unknown name.
    /// Both expansions throw Exception when the result would be longer than
    /// the text and than Environment::kMaxExpandedSize.
    virtual std::string ExpandStrict(const std::string& text) const = 0;
    /// Replaces every known %Name% in one pass, leaving unknown ones as written.
    virtual std::string Expand(const std::string& text) const = 0;
    /// True when both texts name the same variable; throws for a malformed name.
    virtual bool IsSameVariable(const std::string& left, const std::string& right) const = 0;
};

/// The variable table, predefined with ManifestPath and ProductRoot.
class Environment final : public IEnvironment, private zel::TracerProvider {
public:
    /// Longest result an expansion may grow a text to: no longer path can be
    /// opened (PATH_MAX), and without a bound variables defined from each
    /// other double in length with every definition.
    static constexpr std::size_t kMaxExpandedSize = 4096;

    Environment(const Path& manifestPath, zel::IEnvironmentVariablesPtr process,
                zel::ITracerPtr tracer);

    /// The name inside "%Name%", or a bare name itself; throws Exception
    /// "Wrong format of environment variable %1%" for anything else.
    static std::string Placeholder2Key(const std::string& text);

    void SetValue(const std::string& name, const std::string& value) override;
    std::string GetValue(const std::string& name) const override;
    std::string ExpandStrict(const std::string& text) const override;
    std::string Expand(const std::string& text) const override;
    bool IsSameVariable(const std::string& left, const std::string& right) const override;

private:
    std::optional<std::string> Lookup(const std::string& key) const;
    /// Appends what Lookup finds to `text`; false when it finds nothing.
    bool AppendValue(const std::string& key, std::string& text) const;
    std::string ExpandWith(const std::string& text, bool strict) const;

    zel::IEnvironmentVariablesPtr process_;
    std::map<std::string, std::string> variables_;
};

}  // namespace integrity_check_tool
