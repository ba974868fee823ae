#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "action/statistics.h"
#include "console.h"
#include "factory/factory.h"
#include "manifest/manifest.h"
#include "manifest/storage.h"

namespace integrity_check_tool::test {

/// Console that keeps every line, whatever its level.
class RecordingConsole final : public IConsole {
public:
    void Write(std::uint32_t, const std::string& line) override { text += line; }

    std::string text;
};

/// Manifests kept in memory by path. A load gives a copy with checks of its
/// own, as parsing would; a store is recorded, never written.
class MemoryStorage final : public IStorage {
public:
    /// Reads the whole stream as the path of the manifest to give.
    void LoadFromStream(zel::IIO& stream, Manifest& manifest) override;
    /// Throws Exception for a path that `manifests` lacks.
    void LoadFromFile(const Path& path, Manifest& manifest) override;
    void StoreToFile(const Path& path, const Manifest& manifest) override;

    std::map<std::string, Manifest> manifests;
    std::vector<std::pair<Path, Manifest>> stored;
};

/// Factory for unit tests of the actions. Manifests come from `storage` and
/// are "signed" by their path; the files named in `files` are in memory,
/// every other path is read from disk; registry values fail as on Linux;
/// placeholders see `variables` instead of the process environment; the
/// system is x86_64 Linux desktop 6.0. Checks, processor, filter and
/// statistics are the real ones, and every line goes to one verbose console.
class FakeFactory final : public IFactory, public std::enable_shared_from_this<FakeFactory> {
public:
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
    /// The actions are made by the tests themselves: these throw.
    IActionPtr CreateDisplayVersionAction() override;
    IActionPtr CreateGenerateAction() override;
    IActionPtr CreateVerifyAction() override;
    IActionPtr CreateNormalizeAction() override;
    IActionPtr CreateSingleFileAction() override;
    IStatisticsPtr GetStatistics() override;
    IRunReportPtr GetRunReport() override;

    /// File content by path.
    std::map<std::string, std::string> files;
    std::map<std::string, std::string> variables;
    std::shared_ptr<MemoryStorage> storage = std::make_shared<MemoryStorage>();
    std::shared_ptr<RecordingConsole> console = std::make_shared<RecordingConsole>();
    std::shared_ptr<Statistics> statistics = std::make_shared<Statistics>();
};

}  // namespace integrity_check_tool::test
