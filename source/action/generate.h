#pragma once

#include <functional>

#include <zel/tracer.h>

#include "action/action.h"
#include "action/clock.h"
#include "action/processor.h"
#include "config.h"
#include "factory/factory.h"
#include "hash/content_digest.h"

namespace integrity_check_tool::action {

/// Fills a manifest's missing expected values from the installed files and
/// stores it, stamped with the generation time. Nothing is written when any
/// entry fails.
class Generate final : public IAction, private zel::TracerProvider {
public:
    /// `clock` gives the generation time the manifest is stamped with.
    Generate(zel::ITracerPtr tracer, IFactoryPtr factory, Config::Generate config, IClockPtr clock);

    bool Run() override;

private:
    void GenerateManifest(Manifest& manifest);
    /// Adds the default check to an entry without checks and fills every
    /// empty expected value from the object that `open` gives, a digest of
    /// `digest`'s type (when given) from it instead.
    void GenerateChecks(const std::string& description, CheckInfoList& checks,
                        const std::function<IDataObjectPtr()>& open, const ContentDigest* digest);
    void GenerateDirectory(DirectoryInfo& directory);
    void GenerateRegistryKey(RegistryKeyInfo& key);

    IFactoryPtr factory_;
    Config::Generate config_;
    IClockPtr clock_;
    IProcessorPtr processor_;
    IEnvironmentPtr environment_;
};

}  // namespace integrity_check_tool::action
