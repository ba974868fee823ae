#pragma once

#include "arguments/checker.h"

namespace integrity_check_tool {

/// "integrity_tester": the checker plus a switch that turns signature
/// checking off; signatures it does check go against the alternative roots.
class TesterArguments final : public CheckerArguments {
public:
    static constexpr const char* kProgramName = "integrity_tester";

    ConfigPtr CreateConfig() const override;

protected:
    void OnStart() override;
    void AddOptions(po::options_description& options) override;
    const char* ProgramName() const override { return kProgramName; }
};

}  // namespace integrity_check_tool
