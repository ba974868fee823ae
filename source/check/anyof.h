#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <zel/tracer.h>

#include "check/checker.h"

namespace integrity_check_tool::check {

/// Passes when any of its alternatives passes; tries them in order and
/// stops at the first that passes.
class AnyOf final : public IFileChecker, public IRegistryChecker, private zel::TracerProvider {
public:
    struct Alternative {
        std::string name;
        IFileCheckerPtr file;
        IRegistryCheckerPtr registry;
    };
    /// (name, call) pairs run by CheckSequence.
    using Checks = std::vector<std::pair<std::string, std::function<void()>>>;

    AnyOf(zel::ITracerPtr tracer, std::vector<Alternative> alternatives)
        : zel::TracerProvider(std::move(tracer)), alternatives_(std::move(alternatives))
    {
    }

    /// Hands `digest` to every alternative.
    void CheckFileValueWith(const Path& path, const ContentDigest* digest) const override;
    void CheckRegistryValue(const std::string& key, const std::string& value,
                            RegistryType type) const override;

    /// Runs the calls until one returns. A single failure is rethrown as it
    /// is; several become AllChecksFailedException.
    void CheckSequence(const Checks& checks) const;

private:
    std::vector<Alternative> alternatives_;
};

}  // namespace integrity_check_tool::check
