#include "factory/factory.h"

#include <iostream>

#include "action/check_single_file.h"
#include "action/display_version.h"
#include "action/generate.h"
#include "action/normalize.h"
#include "action/processor.h"
#include "action/verify.h"
#include "check/anyof.h"
#include "check/exists.h"
#include "check/hash.h"
#include "check/not_exists.h"
#include "check/value.h"
#include "console.h"
#include "data_object/file.h"
#include "data_object/messages.h"
#include "data_object/value_provider.h"
#include "exception.h"
#include "factory/composite.h"
#include "hash/gost2012.h"
#include "hash/sha256.h"
#include "manifest/environment.h"
#include "manifest/filter.h"
#include "manifest/manifest.h"
#include "manifest/storage.h"
#include "signature/lum_verifier.h"
#include "signature/signature_verifier.h"
#include "signature/vorn2_verifier.h"
#include "system_info.h"
#include "utils/utils.h"
#include "xml/file.h"

namespace integrity_check_tool {

namespace {

[[noreturn]] void UnknownCheckType(CheckType type)
{
    ICT_THROW("Unknown check type %1%", static_cast<std::uint32_t>(type));
}

/// Accepts every manifest as it stands: verification without a signature.
class WithoutSignatureVerifier final : public ISignatureVerifier {
public:
    void Verify(const Path& file, Blob& content) const override { content = ReadWholeFile(file); }
};

}  // namespace

Factory::Factory(ConfigPtr config, zel::ServiceLocatorPtr locator, zel::ITracerPtr tracer)
    : zel::TracerProvider(std::move(tracer)), config_(std::move(config)),
      locator_(std::move(locator)), statistics_(std::make_shared<Statistics>())
{
}

CompositePtr Factory::CreateComposite()
{
    return std::make_shared<Composite>();
}

std::shared_ptr<check::CheckBase> Factory::CreateChecker(const CheckInfo& check)
{
    const IFactoryPtr self = shared_from_this();
    switch (check.type) {
    case CheckType::Exists:
        return std::make_shared<check::Exists>(GetTracer(), self);
    case CheckType::NotExists:
        return std::make_shared<check::NotExists>(GetTracer(), self);
    case CheckType::Gost2012:
    case CheckType::Sha256:
        return std::make_shared<check::Hash>(GetTracer(), self, CreateValueProvider(check.type),
                                             check.type, check.value);
    case CheckType::Value:
        return std::make_shared<check::Value>(GetTracer(), self, CreateValueProvider(check.type),
                                              check.value);
    }
    UnknownCheckType(check.type);
}

IFileCheckerPtr Factory::CreateFileChecker(const CheckInfoPtr& check)
{
    return CreateChecker(*check);
}

IRegistryCheckerPtr Factory::CreateRegistryChecker(const CheckInfoPtr& check)
{
    return CreateChecker(*check);
}

std::shared_ptr<check::AnyOf> Factory::CreateAnyOf(const CheckInfoList& checks)
{
    std::vector<check::AnyOf::Alternative> alternatives;
    alternatives.reserve(checks.size());
    for (std::size_t i = 0; i < checks.size(); ++i) {
        auto checker = CreateChecker(*checks[i]);
        alternatives.push_back(
            {ToName(checks[i]->type) + " #" + std::to_string(i + 1), checker, checker});
    }
    return std::make_shared<check::AnyOf>(GetTracer(), std::move(alternatives));
}

IFileCheckerPtr Factory::CreateFileAnyOf(const CheckInfoList& checks)
{
    if (checks.size() == 1) {
        return CreateFileChecker(checks.front());
    }
    return CreateAnyOf(checks);
}

IRegistryCheckerPtr Factory::CreateRegistryAnyOf(const CheckInfoList& checks)
{
    if (checks.size() == 1) {
        return CreateRegistryChecker(checks.front());
    }
    return CreateAnyOf(checks);
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
    switch (type) {
    case CheckType::Exists:
    case CheckType::NotExists:
        return std::make_shared<value_provider::Empty>();
    case CheckType::Gost2012:
        return std::make_shared<value_provider::Hash>(vorn::GetGost2012(GetTracer()));
    case CheckType::Sha256:
        return std::make_shared<value_provider::Hash>(openssl::GetSha256());
    case CheckType::Value:
        return std::make_shared<value_provider::Raw>();
    }
    UnknownCheckType(type);
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
                                       CreateFilter(), statistics_);
}

IStatisticsPtr Factory::GetStatistics()
{
    return statistics_;
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
    return std::make_shared<action::Generate>(GetTracer(), shared_from_this(), *config_->generate);
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
