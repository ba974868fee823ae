#include "arguments/checker.h"

#include "format.h"
#include "tracer.h"

namespace integrity_check_tool {

void CheckerArguments::AddOptions(po::options_description& options)
{
    options.add_options()("help", "display Help for tool settings")(
        "version", "display tool version")("verbose", "extended info output")(
        "trace", po::value<std::string>(), "file for logging at the DEBUG level")(
        "signature-type", po::value<SignatureType>()->default_value(SignatureType::Lum, "lum"),
        HelpWithNames<SignatureType>("signature type( %1% )").c_str())(
        "crl", po::value<std::string>(), "LUM CRL storage directory");
}

void CheckerArguments::CreateVisibleOptions(po::options_description& visible)
{
    po::options_description options("Options");
    AddOptions(options);
    visible.add(options);
}

void CheckerArguments::CreateHiddenOptions(po::options_description& hidden)
{
    Arguments::CreateHiddenOptions(hidden);
    hidden.add_options()("manifest", po::value<std::vector<std::string>>());
}

void CheckerArguments::CreatePositionalOptions(po::positional_options_description& positional)
{
    Arguments::CreatePositionalOptions(positional);
    positional.add("manifest", -1);
}

std::vector<std::string> CheckerArguments::UsageLines() const
{
    return {Format("Use to check if the manifest file is in the same folder: %1% [options]",
                   ProgramName()),
            Format("Otherwise: %1% [options] manifest...", ProgramName())};
}

std::shared_ptr<Config> CheckerArguments::BuildConfig() const
{
    auto config = std::make_shared<Config>();
    if (Has("version")) {
        config->displayVersion.emplace();
    } else {
        config->verify = VerifyRecord();
    }
    if (Has("trace")) {
        config->logFile = Path(Variables()["trace"].as<std::string>());
        config->logLevel = kTraceDebug;
    } else {
        config->logLevel = kTraceDefault;
    }
    return config;
}

ConfigPtr CheckerArguments::CreateConfig() const
{
    return BuildConfig();
}

}  // namespace integrity_check_tool
