#pragma once

#include <zel/service_locator.h>
#include <zel/tracer.h>

#include "config.h"
#include "factory/factory.h"

namespace integrity_check_tool {

/// One run: sets up tracing, records what it was asked to do and runs the
/// configured action.
class Application final : private zel::TracerProvider {
public:
    /// Sets up the tracer and traces version, schema and configuration.
    Application(ConfigPtr config, zel::ServiceLocatorPtr locator);

    /// Runs the configured action; true when it succeeded.
    bool Run();

private:
    ConfigPtr config_;
    std::shared_ptr<Factory> factory_;
};

}  // namespace integrity_check_tool
