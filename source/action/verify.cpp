#include "action/verify.h"

#include <optional>

#include <zel/memory_io.h>

#include "check/checker.h"
#include "console.h"
#include "exception.h"
#include "manifest/expand_visitor.h"
#include "manifest/make_unique_visitor.h"
#include "manifest/manifest.h"
#include "manifest/storage.h"
#include "report/run_report.h"
#include "signature/signature_verifier.h"
#include "tracer.h"

namespace integrity_check_tool::action {

namespace {

constexpr const char* kVerifying = "Verifying %1% ...";
constexpr const char* kCompleted = "Verification of %1% completed";
constexpr const char* kFailed = "Verification of %1% %2% failed";

/// A file entry's digest is read ahead when its first check hashes.
bool HasReadAheadItem(const CheckInfoList& checks)
{
    return !checks.empty() && IsReadAhead(checks.front()->type);
}

}  // namespace

Verify::Verify(zel::ITracerPtr tracer, IFactoryPtr factory, std::vector<Path> manifestPaths)
    : zel::TracerProvider(std::move(tracer)), factory_(std::move(factory)),
      manifestPaths_(std::move(manifestPaths))
{
}

bool Verify::Run()
{
    const ISignatureVerifierPtr verifier = factory_->CreateSignatureVerifier();
    const IStoragePtr storage = factory_->CreateStorage();
    const IRunReportPtr report = factory_->GetRunReport();
    std::vector<Manifest> manifests(manifestPaths_.size());
    for (std::size_t i = 0; i < manifestPaths_.size(); ++i) {
        // Only the signed content is parsed, never the file a second time.
        Blob content;
        SignatureDetails details;
        try {
            verifier->VerifyWithDetails(manifestPaths_[i], content, details);
        } catch (...) {
            report->AddManifest(manifestPaths_[i].string(), details, CurrentExceptionMessage());
            throw;
        }
        report->AddManifest(manifestPaths_[i].string(), details, std::nullopt);
        zel::MemoryIO stream(std::move(content));
        storage->LoadFromStream(stream, manifests[i]);
    }
    processor_ = factory_->CreateProcessor();
    const bool succeeded = processor_->ProcessManifest(manifestPaths_.front().string(),
                                                       [&] { VerifyManifest(manifests); });
    factory_->GetStatistics()->WriteSummary(*factory_->CreateConsole(false));
    return succeeded;
}

void Verify::VerifyManifest(std::vector<Manifest>& manifests)
{
    PrepareManifest(manifests);
    const Manifest& manifest = manifests.front();

    // The files in the order they are checked, each path built once.
    // Digests are read ahead in that order; everything printed stays on
    // this thread.
    std::vector<ReadAheadItem> items;
    const auto entry = [&items](std::string path, const CheckInfoList& checks) {
        FileEntry file{std::move(path), &checks, std::nullopt};
        if (HasReadAheadItem(checks)) {
            file.item = items.size();
            items.push_back(ReadAheadItem{file.path, checks.front()->type});
        }
        return file;
    };
    std::vector<FileEntry> files;
    for (const FileInfo& file : manifest.files) {
        files.push_back(entry(file.path, file.checks));
    }
    std::vector<std::vector<FileEntry>> directoryFiles(manifest.directories.size());
    for (std::size_t i = 0; i < manifest.directories.size(); ++i) {
        const DirectoryInfo& directory = manifest.directories[i];
        for (const FileInfo& file : directory.files) {
            directoryFiles[i].push_back(
                entry((Path(directory.path) / file.path).string(), file.checks));
        }
    }
    readAhead_ = MakeReadAhead(std::move(items));

    bool succeeded = true;
    for (const FileEntry& file : files) {
        succeeded = VerifyFile(file) && succeeded;
    }
    for (std::size_t i = 0; i < manifest.directories.size(); ++i) {
        const std::string& path = manifest.directories[i].path;
        succeeded = processor_->ProcessDirectory(path, [&] {
            VerifyDirectory(path, directoryFiles[i]);
        }) && succeeded;
    }
    readAhead_.reset();
    for (const RegistryKeyInfo& key : manifest.registries) {
        succeeded =
            processor_->ProcessRegistryKey(key.path, [&] { VerifyRegistryKey(key); }) && succeeded;
    }
    if (!succeeded) {
        ICT_THROW(kFailed, "manifest", manifestPaths_.front().string());
    }
}

void Verify::PrepareManifest(std::vector<Manifest>& manifests)
{
    Manifest& manifest = manifests.front();
    const std::string name = manifestPaths_.front().string();
    for (std::size_t i = 1; i < manifests.size(); ++i) {
        Trace(kTraceDebug, "Merge %1% -> %2% ...", manifestPaths_[i].string(), name);
        manifest.Merge(std::move(manifests[i]));
    }
    // Entries named by several manifests (or twice in one) are checked once.
    MakeUniqueManifestVisitor unique;
    manifest.Accept(unique);

    Trace(kTraceDebug, kVerifying, name);
    const IEnvironmentPtr environment = factory_->CreateEnvironment(manifestPaths_.front());
    ExpandVariablesManifestVisitor expand(*environment, factory_->CreateFilter());
    manifest.Accept(expand);
    processor_->Filter(manifest);
}

bool Verify::VerifyFile(const FileEntry& file)
{
    return processor_->ProcessFile(file.path, *file.checks, [&] {
        Trace(kTraceDebug, kVerifying, file.path);
        const std::optional<ContentDigest> digest = TakeDigest(readAhead_.get(), file.item);
        factory_->CreateFileAnyOf(*file.checks)
            ->CheckFileValueWith(Path(file.path), digest ? &*digest : nullptr);
        Trace(kTraceDebug, kCompleted, file.path);
    });
}

void Verify::VerifyDirectory(const std::string& path, const std::vector<FileEntry>& files)
{
    Trace(kTraceDebug, kVerifying, path);
    bool succeeded = true;
    for (const FileEntry& file : files) {
        succeeded = VerifyFile(file) && succeeded;
    }
    if (!succeeded) {
        ICT_THROW(kFailed, "directory", path);
    }
    Trace(kTraceDebug, kCompleted, path);
}

void Verify::VerifyRegistryKey(const RegistryKeyInfo& key)
{
    Trace(kTraceDebug, kVerifying, key.path);
    bool succeeded = true;
    for (const RegistryValueInfo& value : key.values) {
        succeeded = processor_->ProcessRegistryValue(value.name, value.checks, [&] {
            Trace(kTraceDebug, kVerifying, value.name);
            factory_->CreateRegistryAnyOf(value.checks)
                ->CheckRegistryValue(key.path, value.name, value.type);
            Trace(kTraceDebug, kCompleted, value.name);
        }) && succeeded;
    }
    if (!succeeded) {
        ICT_THROW(kFailed, "registry path", key.path);
    }
    Trace(kTraceDebug, kCompleted, key.path);
}

}  // namespace integrity_check_tool::action
