#pragma once

#include <zel/io.h>
#include <zel/tracer.h>

#include "forward.h"
#include "types.h"

namespace integrity_check_tool {

struct Manifest;

/// Loads and saves manifests. A failed load leaves `manifest` partly filled.
class IStorage {
public:
    virtual ~IStorage() = default;

    /// Reads the whole of `stream` into `manifest`; throws on any failure.
    virtual void LoadFromStream(zel::IIO& stream, Manifest& manifest) = 0;
    /// Reads the file at `path` into `manifest`; throws on any failure.
    virtual void LoadFromFile(const Path& path, Manifest& manifest) = 0;
    /// Writes `manifest` to `path`, replacing it only once complete.
    virtual void StoreToFile(const Path& path, const Manifest& manifest) = 0;
};

/// Wraps another storage: collapses duplicates after loading a file and
/// traces each manifest as JSON when the debug level is enabled.
class Storage final : public IStorage, private zel::TracerProvider {
public:
    Storage(IStoragePtr storage, zel::ITracerPtr tracer);

    void LoadFromStream(zel::IIO& stream, Manifest& manifest) override;
    void LoadFromFile(const Path& path, Manifest& manifest) override;
    void StoreToFile(const Path& path, const Manifest& manifest) override;

private:
    void TraceManifest(const std::string& prefix, const Manifest& manifest) const;

    IStoragePtr storage_;
};

}  // namespace integrity_check_tool
