#include "arguments/entry.h"

#include <iostream>
#include <vector>

#include <zel/service_locator.h>

#include "application.h"
#include "utils/closing_line.h"

namespace integrity_check_tool {

int RunProgram(int argc, char** argv, const std::function<ArgumentsPtr()>& createArguments)
{
    return RunWithClosingLine([&] {
        const std::vector<std::string> arguments(argv, argv + argc);
        ArgumentsPtr parsed = createArguments();
        parsed->Parse(arguments);
        if (parsed->IsHelpRequested()) {
            parsed->PrintHelp(std::cout);
            return Outcome::Quiet;
        }
        ConfigPtr config = parsed->CreateConfig();
        auto application =
            std::make_unique<Application>(config, zel::MakeIntrusive<zel::ServiceLocator>());
        const bool succeeded = application->Run();
        // Everything is torn down before the closing line, which is the output's last.
        application.reset();
        config.reset();
        parsed.reset();
        return succeeded ? Outcome::Succeeded : Outcome::Failed;
    });
}

}  // namespace integrity_check_tool
