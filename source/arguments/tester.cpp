#include "arguments/tester.h"

#include <iostream>

namespace integrity_check_tool {

void TesterArguments::OnStart()
{
    std::cout << "This utilty for internal testing only. Do not use it in production!\n"
              << std::endl;
}

void TesterArguments::AddOptions(po::options_description& options)
{
    CheckerArguments::AddOptions(options);
    options.add_options()("without-signature", "verify manifest without signature (tests only)");
}

ConfigPtr TesterArguments::CreateConfig() const
{
    std::shared_ptr<Config> config = BuildConfig();
    if (config->verify) {
        config->verify->signatureCheckMode = Has("without-signature") ? 2 : 1;
    }
    return config;
}

}  // namespace integrity_check_tool
