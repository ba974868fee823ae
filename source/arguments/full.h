#pragma once

#include "arguments/arguments.h"
#include "tracer.h"

namespace integrity_check_tool {

/// "integrity_check_tool": every action.
class FullArguments final : public Arguments {
public:
    static constexpr const char* kProgramName = "integrity_check_tool";
    static constexpr CheckType kDefaultHash = CheckType::Gost2012;

    ConfigPtr CreateConfig() const override;
    std::set<Path> GetManifestPaths() const override;

protected:
    void CreateVisibleOptions(po::options_description& visible) override;
    void CheckVariables() const override;
    std::vector<std::string> UsageLines() const override;
    const char* ProgramName() const override { return kProgramName; }

private:
    bool HasSingleFileCheck() const;

    CheckType checkType_ = kDefaultHash;
    std::uint32_t logLevel_ = kTraceDefault;
};

}  // namespace integrity_check_tool
