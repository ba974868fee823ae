#include "action/generate.h"

#include <locale>
#include <optional>
#include <sstream>

#include <boost/date_time/posix_time/posix_time.hpp>

#include "action/directory_enumerator.h"
#include "action/read_ahead_scope.h"
#include "data_object/data_object.h"
#include "data_object/value_provider.h"
#include "exception.h"
#include "manifest/environment.h"
#include "manifest/expand_visitor.h"
#include "manifest/manifest.h"
#include "manifest/storage.h"
#include "tracer.h"

namespace integrity_check_tool::action {

namespace {

bool CarriesValue(CheckType type)
{
    return type == CheckType::Gost2012 || type == CheckType::Sha256 || type == CheckType::Value;
}

/// The check type whose value generation fills first for `checks`, which
/// is the one a read-ahead can serve; Exists when there is none.
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

    // Files are hashed ahead in the order of the loops; entries that the
    // filter might drop are left to the serial path.
    std::vector<ReadAheadItem> items;
    for (const FileInfo& file : manifest.files) {
        if (IsUnrestricted(file)) {
            AddReadAheadItem(items, Path(environment_->Expand(file.path)).string(),
                             FirstFilled(file.checks, config_.checkType));
        }
    }
    std::optional<ScopedReadAhead> readAhead(std::in_place, *factory_,
                                             MakeReadAhead(std::move(items)));

    bool succeeded = true;
    for (FileInfo& file : manifest.files) {
        if (!processor_->IsFiltered(ObjectKind::File, file, file.path)) {
            succeeded = processor_->ProcessFile(file.path, [&] {
                GenerateChecks(file.path, file.checks, [&] {
                    return factory_->CreateFileObject(Path(environment_->Expand(file.path)));
                });
            }) && succeeded;
        }
    }
    readAhead.reset();
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
                              const std::function<IDataObjectPtr()>& open)
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
            factory_->CreateValueProvider(check->type)->GetValue(*object, check->value);
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

    std::vector<ReadAheadItem> items;
    for (const FileInfo& file : directory.files) {
        if (IsUnrestricted(file)) {
            AddReadAheadItem(items, (root / file.path).string(),
                             FirstFilled(file.checks, config_.checkType));
        }
    }
    const ScopedReadAhead readAhead(*factory_, MakeReadAhead(std::move(items)));

    bool succeeded = true;
    for (FileInfo& file : directory.files) {
        const std::string joined = (root / file.path).string();
        if (!processor_->IsFiltered(ObjectKind::File, file, joined)) {
            succeeded = processor_->ProcessFile(joined, [&] {
                GenerateChecks(joined, file.checks,
                               [&] { return factory_->CreateFileObject(Path(joined)); });
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
            GenerateChecks(value.name, value.checks, [&] {
                return factory_->CreateRegistryObject(key.path, value.name, value.type);
            });
        }) && succeeded;
    }
    if (!succeeded) {
        ICT_THROW("Generation of %1% %2% failed", "registry path", key.path);
    }
}

}  // namespace integrity_check_tool::action
