#include "arguments/entry.h"

#include <iostream>
#include <locale>
#include <stdexcept>
#include <vector>

#include <zel/service_locator.h>

#include "application.h"
#include "exception.h"
#include "utils/utils.h"

namespace integrity_check_tool {

int RunProgram(int argc, char** argv, const std::function<ArgumentsPtr()>& createArguments)
{
    try {
        SetUpGlobalLocale();
        const std::vector<std::string> arguments(argv, argv + argc);
        ArgumentsPtr parsed = createArguments();
        parsed->Parse(arguments);
        if (parsed->IsHelpRequested()) {
            parsed->PrintHelp(std::cout);
            std::cout.flush();
            return 0;
        }
        ConfigPtr config = parsed->CreateConfig();
        auto application =
            std::make_unique<Application>(config, zel::MakeIntrusive<zel::ServiceLocator>());
        const bool succeeded = application->Run();
        application.reset();
        config.reset();
        parsed.reset();
        if (succeeded) {
            std::cout << "SUCCEEDED" << std::endl;
            return 0;
        }
        std::cerr << "FAILED" << std::endl;
        return 1;
    } catch (...) {
        std::cout.flush();
        std::cerr << DescribeCurrentException() << '\n' << "FAILED" << std::endl;
        return 1;
    }
}

}  // namespace integrity_check_tool
