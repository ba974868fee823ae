#pragma once

// Forward declarations of everything the factory makes, so that its
// interface does not pull in every subsystem.

#include <memory>
#include <vector>

namespace integrity_check_tool {

struct CheckInfo;
using CheckInfoPtr = std::shared_ptr<CheckInfo>;
using CheckInfoList = std::vector<CheckInfoPtr>;

class IAction;
using IActionPtr = std::shared_ptr<IAction>;
class IFactory;
using IFactoryPtr = std::shared_ptr<IFactory>;
class IConsole;
using IConsolePtr = std::shared_ptr<IConsole>;
class IFileChecker;
using IFileCheckerPtr = std::shared_ptr<const IFileChecker>;
class IRegistryChecker;
using IRegistryCheckerPtr = std::shared_ptr<const IRegistryChecker>;
class IDataObject;
using IDataObjectPtr = std::shared_ptr<IDataObject>;
class IValueProvider;
using IValueProviderPtr = std::shared_ptr<const IValueProvider>;
class IStorage;
using IStoragePtr = std::shared_ptr<IStorage>;
class IFilter;
using IFilterPtr = std::shared_ptr<const IFilter>;
class ISystemInfo;
using ISystemInfoPtr = std::shared_ptr<const ISystemInfo>;
class IProcessor;
using IProcessorPtr = std::shared_ptr<IProcessor>;
class IEnvironment;
using IEnvironmentPtr = std::shared_ptr<IEnvironment>;
class ISignatureVerifier;
using ISignatureVerifierPtr = std::shared_ptr<const ISignatureVerifier>;
class IStatistics;
using IStatisticsPtr = std::shared_ptr<IStatistics>;
class IRunReport;
using IRunReportPtr = std::shared_ptr<IRunReport>;
class Composite;
using CompositePtr = std::shared_ptr<Composite>;

}  // namespace integrity_check_tool
