#include "action/generate.h"

#include <locale>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

#include <boost/date_time/posix_time/posix_time.hpp>

#include "action/directory_enumerator.h"
#include "data_object/data_object.h"
#include "data_object/read_ahead.h"
#include "data_object/value_provider.h"
#include "exception.h"
#include "hash/content_digest.h"
#include "manifest/environment.h"
#include "manifest/expand_visitor.h"
#include "manifest/filter.h"
#include "manifest/manifest.h"
#include "manifest/storage.h"
#include "tracer.h"

namespace integrity_check_tool::action {

namespace {

bool CarriesValue(CheckType type)
{
    return type == CheckType::Gost2012 || type == CheckType::Sha256 || type == CheckType::Value;
}

/// The check type whose value generation fills first for `checks`;
/// Exists when there is none.
CheckType FirstFilled(const CheckInfoList& checks, CheckType defaultType)
{
    if (checks.empty()) {
        return defaultType;
    }
    for (const CheckInfoPtr& check : checks) {
        if (CarriesValue(check->type) && check->value.empty()) {
            return check->type;
        }
    }
    return CheckType::Exists;
}

/// The digest read ahead for `file`: the one generation fills first, when
/// it is a hash and no filter can drop the entry. Asked before the entry's
/// checks are filled, it gives the same answer in both loops over a list.
std::optional<CheckType> ReadAheadType(const FileInfo& file, CheckType defaultType)
{
    const CheckType type = FirstFilled(file.checks, defaultType);
    if (IsUnrestricted(file) && IsReadAhead(type)) {
        return type;
    }
    return std::nullopt;
}

/// The digests to read ahead for `files` (whose expanded paths `pathOf`
/// gives), and each file's item among them, taken before any entry is
/// filtered or filled.
struct ReadAheadPlan {
    IReadAheadPtr readAhead;                         // null: the serial path
    std::vector<std::optional<std::size_t>> itemOf;  // each file's item
};

template <class Files, class PathOf>
ReadAheadPlan PlanReadAhead(const Files& files, CheckType defaultType, const PathOf& pathOf)
{
    std::vector<ReadAheadItem> items;
    std::vector<std::optional<std::size_t>> itemOf;
    itemOf.reserve(files.size());
    for (const FileInfo& file : files) {
        itemOf.emplace_back();
        if (const std::optional<CheckType> type = ReadAheadType(file, defaultType)) {
            itemOf.back() = items.size();
            items.push_back(ReadAheadItem{pathOf(file), *type});
        }
    }
    return {MakeReadAhead(std::move(items)), std::move(itemOf)};
}

std::string TimeStamp(const boost::posix_time::ptime& time)
{
    std::ostringstream text;
    text.imbue(std::locale(std::locale::classic(),
                           new boost::posix_time::time_facet("%Y-%m-%dT%H:%M:%S")));
    text << time;
    return text.str();
}

}  // namespace

Generate::Generate(zel::ITracerPtr tracer, IFactoryPtr factory, Config::Generate config,
                   IClockPtr clock)
    : zel::TracerProvider(std::move(tracer)), factory_(std::move(factory)),
      config_(std::move(config)), clock_(std::move(clock))
{
}

bool Generate::Run()
{
    const IStoragePtr storage = factory_->CreateStorage();
    Manifest manifest;
    storage->LoadFromFile(config_.configPath, manifest);
    processor_ = factory_->CreateProcessor();
    const std::string name = config_.manifestPath.string();
    const bool succeeded = processor_->ProcessManifest(name, [&] {
        GenerateManifest(manifest);
        manifest.generationDateTime = TimeStamp(clock_->Now());
        storage->StoreToFile(config_.manifestPath, manifest);
    });
    factory_->GetStatistics()->WriteSummary(*factory_->CreateConsole(false));
    return succeeded;
}

void Generate::GenerateManifest(Manifest& manifest)
{
    // Paths are expanded only to find the files; the manifest keeps its
    // placeholders. Variables are relative to where the result will live.
    environment_ = factory_->CreateEnvironment(config_.manifestPath);
    Manifest variables;
    variables.environments = manifest.environments;
    ExpandVariablesManifestVisitor expand(*environment_, factory_->CreateFilter());
    variables.Accept(expand);

    // Files are hashed ahead in the order of the loop; entries that the
    // filter might drop are left to the serial path.
    ReadAheadPlan plan =
        PlanReadAhead(manifest.files, config_.checkType, [&](const FileInfo& file) {
            return Path(environment_->Expand(file.path)).string();
        });

    bool succeeded = true;
    std::size_t index = 0;
    for (FileInfo& file : manifest.files) {
        const std::optional<std::size_t> item = plan.itemOf[index++];
        if (!processor_->IsFiltered(ObjectKind::File, file, file.path)) {
            succeeded = processor_->ProcessFile(file.path, [&] {
                const std::optional<ContentDigest> digest = TakeDigest(plan.readAhead.get(), item);
                GenerateChecks(
                    file.path, file.checks,
                    [&] {
                        return factory_->CreateFileObject(Path(environment_->Expand(file.path)));
                    },
                    digest ? &*digest : nullptr);
            }) && succeeded;
        }
    }
    plan.readAhead.reset();
    for (DirectoryInfo& directory : manifest.directories) {
        if (!processor_->IsFiltered(ObjectKind::Directory, directory, directory.path)) {
            succeeded = processor_->ProcessDirectory(directory.path, [&] {
                GenerateDirectory(directory);
            }) && succeeded;
        }
    }
    for (RegistryKeyInfo& key : manifest.registries) {
        if (!processor_->IsFiltered(ObjectKind::RegistryKey, key, key.path)) {
            succeeded = processor_->ProcessRegistryKey(key.path, [&] {
                GenerateRegistryKey(key);
            }) && succeeded;
        }
    }
    if (!succeeded) {
        ICT_THROW("Generation of %1% %2% failed", "manifest", config_.manifestPath.string());
    }
}

void Generate::GenerateChecks(const std::string& description, CheckInfoList& checks,
                              const std::function<IDataObjectPtr()>& open,
                              const ContentDigest* digest)
{
    Trace(kTraceDebug, "Processing %1% ...", description);
    if (checks.empty()) {
        checks.push_back(std::make_shared<CheckInfo>(CheckInfo{config_.checkType, {}}));
        Trace(kTraceDebug, "Checker %1% added for %2%", ToName(config_.checkType), description);
    }
    IDataObjectPtr object;
    for (const CheckInfoPtr& check : checks) {
        if (CarriesValue(check->type) && check->value.empty()) {
            if (!object) {
                object = open();
            }
            const IValueProviderPtr provider = factory_->CreateValueProvider(check->type);
            GetValueOrDigest(*provider, *object, digest, check->type, check->value);
        }
    }
}

void Generate::GenerateDirectory(DirectoryInfo& directory)
{
    Trace(kTraceDebug, "Processing %1% ...", directory.path);
    const Path root(environment_->Expand(directory.path));
    std::vector<FileInfo> found;
    DirectoryEnumerator(GetTracer()).Enumerate(root, [&](const std::string& relative) {
        FileInfo file;
        file.path = relative;
        found.push_back(std::move(file));
    });
    // Files the manifest already lists keep their entries and checks.
    std::erase_if(found, [&](const FileInfo& file) {
        return std::any_of(directory.files.begin(), directory.files.end(),
                           [&](const FileInfo& listed) { return listed.path == file.path; });
    });
    directory.files.InsertAll(std::move(found));

    const ReadAheadPlan plan =
        PlanReadAhead(directory.files, config_.checkType,
                      [&](const FileInfo& file) { return (root / file.path).string(); });

    bool succeeded = true;
    std::size_t index = 0;
    for (FileInfo& file : directory.files) {
        const std::optional<std::size_t> item = plan.itemOf[index++];
        const std::string joined = (root / file.path).string();
        if (!processor_->IsFiltered(ObjectKind::File, file, joined)) {
            succeeded = processor_->ProcessFile(joined, [&] {
                const std::optional<ContentDigest> digest = TakeDigest(plan.readAhead.get(), item);
                GenerateChecks(
                    joined, file.checks, [&] { return factory_->CreateFileObject(Path(joined)); },
                    digest ? &*digest : nullptr);
            }) && succeeded;
        }
    }
    if (!succeeded) {
        ICT_THROW("Generation of %1% %2% failed", "directory", directory.path);
    }
}

void Generate::GenerateRegistryKey(RegistryKeyInfo& key)
{
    Trace(kTraceDebug, "Processing %1% ...", key.path);
    bool succeeded = true;
    for (RegistryValueInfo& value : key.values) {
        if (processor_->IsFiltered(ObjectKind::RegistryValue, value, value.name)) {
            continue;
        }
        succeeded = processor_->ProcessRegistryValue(value.name, [&] {
            GenerateChecks(
                value.name, value.checks,
                [&] { return factory_->CreateRegistryObject(key.path, value.name, value.type); },
                nullptr);
        }) && succeeded;
    }
    if (!succeeded) {
        ICT_THROW("Generation of %1% %2% failed", "registry path", key.path);
    }
}

}  // namespace integrity_check_tool::action
