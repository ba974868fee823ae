#include "arguments/full.h"

#include "exception.h"
#include "format.h"
#include "tracer.h"

namespace integrity_check_tool {

namespace {

constexpr const char* kSingleFileOptions[] = {"calc-hash", "calc-hash-gost2012", "calc-hash-sha256",
                                              "get-value"};

bool GeneratorAccepts(CheckType type)
{
    return type != CheckType::NotExists;
}

}  // namespace

void FullArguments::CreateVisibleOptions(po::options_description& visible)
{
    po::options_description general("general options");
    general.add_options()("help,h", "produce help message")(
        "manifest,m", po::value<std::string>()->default_value("integrity_check.xml"),
        "manifest file");

    po::options_description actions("actions");
    actions.add_options()("generate,g", "generate manifest( auto on normalize action )")(
        "verify,v", "verify product with manifest")("normalize,n", "normalize manifest file")(
        "calc-hash,w", po::value<std::string>(), "calculate default hash for single file")(
        "calc-hash-gost2012,x", po::value<std::string>(),
        "calculate hash gost2012 for single file")("calc-hash-sha256,y", po::value<std::string>(),
                                                   "calculate hash sha256 for single file")(
        "get-value,z", po::value<std::string>(), "get data of single file in base64 format");

    po::options_description verify("verify");
    verify.add_options()("verbose,V", "extended info output")(
        "signature-type", po::value<SignatureType>()->default_value(SignatureType::Lum, "lum"),
        HelpWithNames<SignatureType>("signature type( %1% )").c_str())(
        "crl", po::value<std::string>(), "LUM CRL storage directory");

    po::options_description generate("generate");
    generate.add_options()("config,c", po::value<std::string>(), "configuration file")(
        "check-type", po::value<CheckType>()->notifier([this](CheckType type) {
            if (!GeneratorAccepts(type)) {
                ICT_THROW("Wrong check type: %1%", ToName(type));
            }
            checkType_ = type;
        }),
        HelpWithNames<CheckType>("check type( %1% )").c_str())(
        "arch", po::value<Arch>(), HelpWithNames<Arch>("architecture( %1% )").c_str())(
        "os", po::value<Os>(), HelpWithNames<Os>("operation system( %1% )").c_str())(
        "os-edition", po::value<OsEdition>(),
        HelpWithNames<OsEdition>("operation system edition( %1% )").c_str())(
        "bitness", po::value<Bitness>(), HelpWithNames<Bitness>("bitness( %1% )").c_str())(
        "version", po::value<std::uint32_t>(),
        "linux kernel or windows version( depending of --os parameter )");

    po::options_description logging("logging");
    logging.add_options()("log-file,L", po::value<std::string>(),
                          "log file, if not specified - standart output will be used")(
        "log-level,l", po::value<std::uint32_t>()->notifier([this](std::uint32_t level) {
            if (level > kMaxTraceLevel) {
                ICT_THROW("Wrong trace level");
            }
            logLevel_ = level;
        }),
        "log level( 0 - 1000 )");

    visible.add(general).add(actions).add(verify).add(generate).add(logging);
}

bool FullArguments::HasSingleFileCheck() const
{
    for (const char* option : kSingleFileOptions) {
        if (Has(option)) {
            return true;
        }
    }
    return false;
}

void FullArguments::CheckVariables() const
{
    const int count = int{Has("generate")} + int{Has("normalize")} + int{HasSingleFileCheck()} +
                      int{Has("verify")};
    if (count >= 2) {
        ICT_THROW("Too many actions specified");
    }
}

std::vector<std::string> FullArguments::UsageLines() const
{
    return {Format("%1% [options]", kProgramName)};
}

std::set<Path> FullArguments::GetManifestPaths() const
{
    return CheckManifestPaths({GetManifestPath().string()});
}

ConfigPtr FullArguments::CreateConfig() const
{
    auto config = std::make_shared<Config>();
    if (Has("generate")) {
        Config::Generate& generate = config->generate.emplace(Config::Generate{});
        generate.manifestPath = GetManifestPath();
        generate.configPath = GetConfigPath();
        generate.checkType = checkType_;
        if (Has("arch")) {
            generate.arch = Variables()["arch"].as<Arch>();
        }
        if (Has("os")) {
            generate.os = Variables()["os"].as<Os>();
        }
        if (Has("os-edition")) {
            generate.osEdition = Variables()["os-edition"].as<OsEdition>();
        }
        if (Has("bitness")) {
            generate.bitness = Variables()["bitness"].as<Bitness>();
        }
        if (Has("version")) {
            generate.version = Variables()["version"].as<std::uint32_t>();
        }
    } else if (Has("normalize")) {
        config->normalize.emplace().manifestPath = GetManifestPath();
    } else if (HasSingleFileCheck()) {
        Config::SingleFileCheck& check = config->singleFileCheck.emplace(Config::SingleFileCheck{});
        const std::pair<const char*, CheckType> options[] = {
            {"calc-hash", kDefaultHash},
            {"calc-hash-gost2012", CheckType::Gost2012},
            {"calc-hash-sha256", CheckType::Sha256},
            {"get-value", CheckType::Value},
        };
        for (const auto& [option, type] : options) {
            if (Has(option)) {
                check.filePath = Path(Variables()[option].as<std::string>());
                check.checkType = type;
                break;
            }
        }
    } else {
        // Verification is what the tool does when no action is named.
        config->verify = VerifyRecord();
    }
    if (Has("log-file")) {
        config->logFile = Path(Variables()["log-file"].as<std::string>());
    }
    config->logLevel = logLevel_;
    return config;
}

}  // namespace integrity_check_tool
