#pragma once

#include <optional>
#include <string>

#include <zel/tracer.h>

#include "check/checker.h"
#include "check/verification_mismatch.h"
#include "data_object/data_object.h"
#include "factory/factory.h"
#include "format.h"
#include "tracer.h"

namespace integrity_check_tool::check {

/// What a check inspects: a file path, or a registry value name in a key.
struct Subject {
    std::string name;
    std::optional<std::string> key;
    /// The digest of a file's content when it was read ahead.
    const ContentDigest* digest = nullptr;

    /// Fills the name (and key) as %1% (and %2%), then `extra` after them.
    template <class... Args> std::string Text(const char* format, const Args&... extra) const
    {
        return key ? Format(format, name, *key, extra...) : Format(format, name, extra...);
    }
};

/// Messages of one check for one kind of object.
struct Texts {
    const char* progress;
    const char* success;
    const char* failure;
};

/// Shared part of the checks: the factory that makes data objects and the
/// tracer. Each check implements Check() once for files and registry values.
class CheckBase : public IFileChecker, public IRegistryChecker, protected zel::TracerProvider {
public:
    void CheckFileValueWith(const Path& path, const ContentDigest* digest) const final;
    void CheckRegistryValue(const std::string& key, const std::string& value,
                            RegistryType type) const final;

protected:
    CheckBase(zel::ITracerPtr tracer, IFactoryPtr factory)
        : zel::TracerProvider(std::move(tracer)), factory_(std::move(factory))
    {
    }

    /// Checks `object`; `registry` selects the registry wording.
    virtual void Check(IDataObject& object, const Subject& subject, bool registry) const = 0;

    /// Traces a subject's message at the debug level, formatting only when enabled.
    template <class... Args>
    void TraceDebug(const Subject& subject, const char* format, const Args&... extra) const
    {
        if (IsTraceEnabled(kTraceDebug)) {
            Trace(kTraceDebug, subject.Text(format, extra...));
        }
    }

    [[noreturn]] static void Mismatch(CheckType type, const std::string& reason,
                                      std::optional<Blob> actual = std::nullopt);

    IFactoryPtr factory_;
};

}  // namespace integrity_check_tool::check
