#include "manifest/storage.h"

#include "format.h"
#include "manifest/json.h"
#include "manifest/make_unique_visitor.h"
#include "manifest/manifest.h"
#include "tracer.h"

namespace integrity_check_tool {

Storage::Storage(IStoragePtr storage, zel::ITracerPtr tracer)
    : zel::TracerProvider(std::move(tracer)), storage_(std::move(storage))
{
}

void Storage::TraceManifest(const std::string& prefix, const Manifest& manifest) const
{
    // The rendering copies the whole manifest, so it is built only when it will be written.
    if (IsTraceEnabled(kTraceDebug)) {
        Trace(kTraceDebug, prefix + ToJson(manifest));
    }
}

void Storage::LoadFromStream(zel::IIO& stream, Manifest& manifest)
{
    storage_->LoadFromStream(stream, manifest);
    TraceManifest("Manifest loaded: ", manifest);
}

void Storage::LoadFromFile(const Path& path, Manifest& manifest)
{
    storage_->LoadFromFile(path, manifest);
    MakeUniqueManifestVisitor unique;
    manifest.Accept(unique);
    TraceManifest(Format("Manifest file %1% loaded: ", path.string()), manifest);
}

void Storage::StoreToFile(const Path& path, const Manifest& manifest)
{
    storage_->StoreToFile(path, manifest);
    TraceManifest(Format("Manifest file %1% stored: ", path.string()), manifest);
}

}  // namespace integrity_check_tool
