#include "support/fake_factory.h"

#include <zel/environment.h>
#include <zel/memory_io.h>

#include "action/processor.h"
#include "check/anyof.h"
#include "check/check_base.h"
#include "data_object/file.h"
#include "data_object/messages.h"
#include "exception.h"
#include "factory/checkers.h"
#include "factory/composite.h"
#include "manifest/environment.h"
#include "manifest/filter.h"
#include "signature/signature_verifier.h"
#include "system_info.h"
#include "utils/utils.h"

namespace integrity_check_tool::test {

namespace {

void CloneChecks(CheckInfoList& checks)
{
    for (CheckInfoPtr& check : checks) {
        check = std::make_shared<CheckInfo>(*check);
    }
}

/// A copy that shares no check with `manifest`.
Manifest DeepCopy(const Manifest& manifest)
{
    Manifest copy = manifest;
    for (FileInfo& file : copy.files) {
        CloneChecks(file.checks);
    }
    for (DirectoryInfo& directory : copy.directories) {
        for (FileInfo& file : directory.files) {
            CloneChecks(file.checks);
        }
    }
    for (RegistryKeyInfo& key : copy.registries) {
        for (RegistryValueInfo& value : key.values) {
            CloneChecks(value.checks);
        }
    }
    return copy;
}

class MemoryObject final : public IDataObject {
public:
    explicit MemoryObject(const std::string& content) : content_(content.begin(), content.end()) {}

    bool IsExists() override { return true; }
    zel::IIOPtr GetData() override { return zel::MakeIntrusive<zel::MemoryIO>(content_); }

private:
    Blob content_;
};

class MapVariables final : public zel::IEnvironmentVariables {
public:
    explicit MapVariables(std::map<std::string, std::string> variables)
        : variables_(std::move(variables))
    {
    }

    std::optional<std::string> Get(const std::string& name) const override
    {
        const auto found = variables_.find(name);
        return found == variables_.end() ? std::nullopt : std::optional(found->second);
    }

private:
    std::map<std::string, std::string> variables_;
};

/// Hands back the path itself as the signed content.
class PathAsContentVerifier final : public ISignatureVerifier {
public:
    void Verify(const Path& file, Blob& content) const override
    {
        const std::string path = file.string();
        content.assign(path.begin(), path.end());
    }
};

class FixedSystem final : public ISystemInfo {
public:
    Arch GetOsArch() const override { return Arch::X86_64; }
    Os GetOs() const override { return Os::Linux; }
    OsEdition GetOsEdition() const override { return OsEdition::Desktop; }
    Bitness GetBitness() const override { return Bitness::Bits64; }
    std::uint32_t GetOsVersion() const override { return 600; }
};

}  // namespace

void MemoryStorage::LoadFromStream(zel::IIO& stream, Manifest& manifest)
{
    const Blob content = ReadWholeStream(stream);
    LoadFromFile(Path(std::string(content.begin(), content.end())), manifest);
}

void MemoryStorage::LoadFromFile(const Path& path, Manifest& manifest)
{
    const auto found = manifests.find(path.string());
    if (found == manifests.end()) {
        ICT_THROW("No manifest %1% in memory", path.string());
    }
    manifest = DeepCopy(found->second);
}

void MemoryStorage::StoreToFile(const Path& path, const Manifest& manifest)
{
    stored.emplace_back(path, DeepCopy(manifest));
}

CompositePtr FakeFactory::CreateComposite()
{
    return std::make_shared<Composite>();
}

IFileCheckerPtr FakeFactory::CreateFileChecker(const CheckInfoPtr& check)
{
    return MakeChecker(*check, nullptr, shared_from_this());
}

IRegistryCheckerPtr FakeFactory::CreateRegistryChecker(const CheckInfoPtr& check)
{
    return MakeChecker(*check, nullptr, shared_from_this());
}

IFileCheckerPtr FakeFactory::CreateFileAnyOf(const CheckInfoList& checks)
{
    if (checks.size() == 1) {
        return CreateFileChecker(checks.front());
    }
    return MakeAnyOf(checks, nullptr, shared_from_this());
}

IRegistryCheckerPtr FakeFactory::CreateRegistryAnyOf(const CheckInfoList& checks)
{
    if (checks.size() == 1) {
        return CreateRegistryChecker(checks.front());
    }
    return MakeAnyOf(checks, nullptr, shared_from_this());
}

IDataObjectPtr FakeFactory::CreateFileObject(const Path& path)
{
    const auto found = files.find(path.string());
    if (found == files.end()) {
        return std::make_shared<File>(path.string());
    }
    return std::make_shared<MemoryObject>(found->second);
}

IDataObjectPtr FakeFactory::CreateRegistryObject(const std::string&, const std::string&,
                                                 RegistryType)
{
    ICT_THROW(messages::kRegistryNotSupported);
}

IValueProviderPtr FakeFactory::CreateValueProvider(CheckType type)
{
    return MakeValueProvider(type, nullptr);
}

IStoragePtr FakeFactory::CreateXmlFile()
{
    return storage;
}

IStoragePtr FakeFactory::CreateStorage()
{
    return storage;
}

IFilterPtr FakeFactory::CreateFilter()
{
    return std::make_shared<Filter>(FixedSystem(), nullptr);
}

ISystemInfoPtr FakeFactory::CreateSystemInfo()
{
    return std::make_shared<FixedSystem>();
}

IConsolePtr FakeFactory::CreateConsole(bool)
{
    return console;
}

IProcessorPtr FakeFactory::CreateProcessor()
{
    return std::make_shared<Processor>(nullptr, console, CreateFilter(), statistics);
}

IEnvironmentPtr FakeFactory::CreateEnvironment(const Path& manifestPath)
{
    return std::make_shared<Environment>(manifestPath, zel::MakeIntrusive<MapVariables>(variables),
                                         nullptr);
}

ISignatureVerifierPtr FakeFactory::CreateSignatureVerifier()
{
    return std::make_shared<PathAsContentVerifier>();
}

IActionPtr FakeFactory::CreateDisplayVersionAction()
{
    ICT_THROW("Not made by the fake factory");
}

IActionPtr FakeFactory::CreateGenerateAction()
{
    ICT_THROW("Not made by the fake factory");
}

IActionPtr FakeFactory::CreateVerifyAction()
{
    ICT_THROW("Not made by the fake factory");
}

IActionPtr FakeFactory::CreateNormalizeAction()
{
    ICT_THROW("Not made by the fake factory");
}

IActionPtr FakeFactory::CreateSingleFileAction()
{
    ICT_THROW("Not made by the fake factory");
}

IRunReportPtr FakeFactory::GetRunReport()
{
    return MakeRunReport({}, 1);
}

IStatisticsPtr FakeFactory::GetStatistics()
{
    return statistics;
}

}  // namespace integrity_check_tool::test
