#include "factory/factory.h"

#include <iostream>

#include "action/check_single_file.h"
#include "action/display_version.h"
#include "action/generate.h"
#include "action/normalize.h"
#include "action/processor.h"
#include "action/verify.h"
#include "check/anyof.h"
#include "check/check_base.h"
#include "console.h"
#include "data_object/file.h"
#include "data_object/messages.h"
#include "data_object/read_ahead.h"
#include "data_object/value_provider.h"
#include "exception.h"
#include "factory/checkers.h"
#include "factory/composite.h"
#include "manifest/environment.h"
#include "manifest/filter.h"
#include "manifest/manifest.h"
#include "manifest/storage.h"
#include "report/run_report.h"
#include "signature/lum_verifier.h"
#include "signature/signature_verifier.h"
#include "signature/vorn2_verifier.h"
#include "system_info.h"
#include "utils/utils.h"
#include "xml/file.h"

namespace integrity_check_tool {

namespace {

/// Accepts every manifest as it stands: verification without a signature.
class WithoutSignatureVerifier final : public ISignatureVerifier {
public:
    void Verify(const Path& file, Blob& content) const override { content = ReadWholeFile(file); }
};

}  // namespace

Factory::Factory(ConfigPtr config, zel::ServiceLocatorPtr locator, zel::ITracerPtr tracer)
    : zel::TracerProvider(std::move(tracer)), config_(std::move(config)),
      locator_(std::move(locator)), statistics_(std::make_shared<Statistics>()),
      report_(config_->verify ? MakeRunReport(RunReportTargetsFromEnvironment(), ReadAheadThreads())
                              : MakeRunReport({}, 0))
{
}

CompositePtr Factory::CreateComposite()
{
    return std::make_shared<Composite>();
}

IFileCheckerPtr Factory::CreateFileChecker(const CheckInfoPtr& check)
{
    return MakeChecker(*check, GetTracer(), shared_from_this());
}

IRegistryCheckerPtr Factory::CreateRegistryChecker(const CheckInfoPtr& check)
{
    return MakeChecker(*check, GetTracer(), shared_from_this());
}

IFileCheckerPtr Factory::CreateFileAnyOf(const CheckInfoList& checks)
{
    if (checks.size() == 1) {
        return CreateFileChecker(checks.front());
    }
    return MakeAnyOf(checks, GetTracer(), shared_from_this());
}

IRegistryCheckerPtr Factory::CreateRegistryAnyOf(const CheckInfoList& checks)
{
    if (checks.size() == 1) {
        return CreateRegistryChecker(checks.front());
    }
    return MakeAnyOf(checks, GetTracer(), shared_from_this());
}

IDataObjectPtr Factory::CreateFileObject(const Path& path)
{
    return std::make_shared<File>(path.string());
}

IDataObjectPtr Factory::CreateRegistryObject(const std::string&, const std::string&, RegistryType)
{
    ICT_THROW(messages::kRegistryNotSupported);
}

IValueProviderPtr Factory::CreateValueProvider(CheckType type)
{
    return MakeValueProvider(type, GetTracer());
}

IStoragePtr Factory::CreateXmlFile()
{
    return std::make_shared<xml::File>();
}

IStoragePtr Factory::CreateStorage()
{
    return std::make_shared<Storage>(CreateXmlFile(), GetTracer());
}

IFilterPtr Factory::CreateFilter()
{
    return std::make_shared<Filter>(*CreateSystemInfo(), GetTracer());
}

ISystemInfoPtr Factory::CreateSystemInfo()
{
    ISystemInfoPtr system = std::make_shared<SystemInfo>(*locator_->GetSystemInformation());
    if (!config_->generate) {
        return system;
    }
    const Config::Generate& generate = *config_->generate;
    SystemOverrides overrides{generate.arch, generate.os, generate.osEdition, generate.bitness,
                              std::nullopt};
    if (generate.version != 0) {
        overrides.version = generate.version;
    }
    if (!overrides.Any()) {
        return system;
    }
    return std::make_shared<ConfiguredSystemInfo>(std::move(system), overrides);
}

IConsolePtr Factory::CreateConsole(bool verbose)
{
    return std::make_shared<Console>(verbose, std::cout, std::cerr);
}

IProcessorPtr Factory::CreateProcessor()
{
    return std::make_shared<Processor>(GetTracer(),
                                       CreateConsole(config_->verify && config_->verify->isVerbose),
                                       CreateFilter(), statistics_, report_);
}

IStatisticsPtr Factory::GetStatistics()
{
    return statistics_;
}

IRunReportPtr Factory::GetRunReport()
{
    return report_;
}

IEnvironmentPtr Factory::CreateEnvironment(const Path& manifestPath)
{
    return std::make_shared<Environment>(manifestPath, locator_->GetEnvironment(), GetTracer());
}

ISignatureVerifierPtr Factory::CreateSignatureVerifier()
{
    const Config::Verify& verify = *config_->verify;
    if (verify.signatureCheckMode == 2) {
        return std::make_shared<WithoutSignatureVerifier>();
    }
    const bool regularRoots = verify.signatureCheckMode == 0;
    switch (verify.signatureType) {
    case SignatureType::Lum:
    case SignatureType::LumWithFilename:
        return std::make_shared<LumSignatureVerifier>(
            GetTracer(), regularRoots, verify.crlStoragePath,
            verify.signatureType == SignatureType::LumWithFilename);
    case SignatureType::Vorn2:
        return std::make_shared<vorn::Gost2012SignatureVerifier>(GetTracer(), regularRoots);
    }
    ICT_THROW("Unknown signature type %1%", static_cast<std::uint32_t>(verify.signatureType));
}

IActionPtr Factory::CreateDisplayVersionAction()
{
    return std::make_shared<action::DisplayVersion>(GetTracer(), CreateConsole(false));
}

IActionPtr Factory::CreateGenerateAction()
{
    return std::make_shared<action::Generate>(GetTracer(), shared_from_this(), *config_->generate,
                                              std::make_shared<action::LocalClock>());
}

IActionPtr Factory::CreateVerifyAction()
{
    const auto& paths = config_->verify->manifestPaths;
    return std::make_shared<action::Verify>(GetTracer(), shared_from_this(),
                                            std::vector<Path>(paths.begin(), paths.end()));
}

IActionPtr Factory::CreateNormalizeAction()
{
    return std::make_shared<action::Normalize>(GetTracer(), config_->normalize->manifestPath,
                                               shared_from_this());
}

IActionPtr Factory::CreateSingleFileAction()
{
    const Config::SingleFileCheck& check = *config_->singleFileCheck;
    return std::make_shared<action::CheckSingleFile>(
        check.filePath, check.checkType, shared_from_this(), GetTracer(), CreateConsole(false));
}

IActionPtr Factory::CreateConfiguredAction()
{
    if (config_->generate) {
        return CreateGenerateAction();
    }
    if (config_->verify) {
        return CreateVerifyAction();
    }
    if (config_->normalize) {
        return CreateNormalizeAction();
    }
    if (config_->displayVersion) {
        return CreateDisplayVersionAction();
    }
    if (config_->singleFileCheck) {
        return CreateSingleFileAction();
    }
    ICT_THROW("No action specified");
}

}  // namespace integrity_check_tool
