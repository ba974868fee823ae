#pragma once

#include "arguments/arguments.h"

namespace integrity_check_tool {

/// "integrity_checker": verification only, manifests as positional arguments.
class CheckerArguments : public Arguments {
public:
    static constexpr const char* kProgramName = "integrity_checker";

    CheckerArguments() = default;
    ConfigPtr CreateConfig() const override;

protected:
    void CreateVisibleOptions(po::options_description& visible) override;
    void CreateHiddenOptions(po::options_description& hidden) override;
    void CreatePositionalOptions(po::positional_options_description& positional) override;
    std::vector<std::string> UsageLines() const override;
    const char* ProgramName() const override { return kProgramName; }

    /// The "Options" group; the tester flavour adds its switch to it.
    virtual void AddOptions(po::options_description& options);
    /// Builds the configuration without the flavour's final adjustments.
    std::shared_ptr<Config> BuildConfig() const;
};

}  // namespace integrity_check_tool
