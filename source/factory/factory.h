#pragma once

#include <memory>
#include <string>

#include <zel/service_locator.h>
#include <zel/tracer.h>

#include "config.h"
#include "enums.h"
#include "forward.h"
#include "types.h"

namespace integrity_check_tool {

/// The one place where the program's concrete objects are chosen and made.
/// Every operation returns a new object or throws Exception.
class IFactory {
public:
    virtual ~IFactory() = default;

    virtual CompositePtr CreateComposite() = 0;
    /// Checker for one check, chosen by its check type.
    virtual IFileCheckerPtr CreateFileChecker(const CheckInfoPtr& check) = 0;
    virtual IRegistryCheckerPtr CreateRegistryChecker(const CheckInfoPtr& check) = 0;
    /// Checker that passes when any of `checks` passes.
    virtual IFileCheckerPtr CreateFileAnyOf(const CheckInfoList& checks) = 0;
    virtual IRegistryCheckerPtr CreateRegistryAnyOf(const CheckInfoList& checks) = 0;
    virtual IDataObjectPtr CreateFileObject(const Path& path) = 0;
    /// Always throws "Registry not supported on this platform" on Linux.
    virtual IDataObjectPtr CreateRegistryObject(const std::string& key, const std::string& value,
                                                RegistryType type) = 0;
    virtual IValueProviderPtr CreateValueProvider(CheckType type) = 0;
    /// The XML manifest file reader and writer.
    virtual IStoragePtr CreateXmlFile() = 0;
    /// The manifest storage (XML file plus collapsing and tracing).
    virtual IStoragePtr CreateStorage() = 0;
    /// The applicability filter for the (possibly overridden) system.
    virtual IFilterPtr CreateFilter() = 0;
    virtual ISystemInfoPtr CreateSystemInfo() = 0;
    virtual IConsolePtr CreateConsole(bool verbose) = 0;
    virtual IProcessorPtr CreateProcessor() = 0;
    /// Placeholder variables for the manifest at `manifestPath`.
    virtual IEnvironmentPtr CreateEnvironment(const Path& manifestPath) = 0;
    virtual ISignatureVerifierPtr CreateSignatureVerifier() = 0;
    virtual IActionPtr CreateDisplayVersionAction() = 0;
    virtual IActionPtr CreateGenerateAction() = 0;
    virtual IActionPtr CreateVerifyAction() = 0;
    virtual IActionPtr CreateNormalizeAction() = 0;
    virtual IActionPtr CreateSingleFileAction() = 0;
    /// The run's counters, shared by the processor and the actions.
    virtual IStatisticsPtr GetStatistics() = 0;
    /// The run's report and metrics, shared by the processor and the actions;
    /// one that records nothing unless a verification asked for them.
    virtual IRunReportPtr GetRunReport() = 0;
};

class Factory final : public IFactory,
                      public std::enable_shared_from_this<Factory>,
                      private zel::TracerProvider {
public:
    Factory(ConfigPtr config, zel::ServiceLocatorPtr locator, zel::ITracerPtr tracer);

    CompositePtr CreateComposite() override;
    IFileCheckerPtr CreateFileChecker(const CheckInfoPtr& check) override;
    IRegistryCheckerPtr CreateRegistryChecker(const CheckInfoPtr& check) override;
    IFileCheckerPtr CreateFileAnyOf(const CheckInfoList& checks) override;
    IRegistryCheckerPtr CreateRegistryAnyOf(const CheckInfoList& checks) override;
    IDataObjectPtr CreateFileObject(const Path& path) override;
    IDataObjectPtr CreateRegistryObject(const std::string& key, const std::string& value,
                                        RegistryType type) override;
    IValueProviderPtr CreateValueProvider(CheckType type) override;
    IStoragePtr CreateXmlFile() override;
    IStoragePtr CreateStorage() override;
    IFilterPtr CreateFilter() override;
    ISystemInfoPtr CreateSystemInfo() override;
    IConsolePtr CreateConsole(bool verbose) override;
    IProcessorPtr CreateProcessor() override;
    IEnvironmentPtr CreateEnvironment(const Path& manifestPath) override;
    ISignatureVerifierPtr CreateSignatureVerifier() override;
    IActionPtr CreateDisplayVersionAction() override;
    IActionPtr CreateGenerateAction() override;
    IActionPtr CreateVerifyAction() override;
    IActionPtr CreateNormalizeAction() override;
    IActionPtr CreateSingleFileAction() override;
    IStatisticsPtr GetStatistics() override;
    IRunReportPtr GetRunReport() override;

    /// The action that the configuration's present record names.
    IActionPtr CreateConfiguredAction();

private:
    ConfigPtr config_;
    zel::ServiceLocatorPtr locator_;
    IStatisticsPtr statistics_;
    IRunReportPtr report_;
};

}  // namespace integrity_check_tool
