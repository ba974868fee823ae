#include "application.h"

#include "action/action.h"
#include "tracer.h"
#include "utils/utils.h"

namespace integrity_check_tool {

Application::Application(ConfigPtr config, zel::ServiceLocatorPtr locator)
    : zel::TracerProvider(Tracer::Create(*locator, config->logLevel, config->logFile)),
      config_(std::move(config))
{
    Trace(kTraceInfo, VersionLine());
    Trace(kTraceInfo, SchemaLine());
    if (IsTraceEnabled(kTraceDebug)) {
        Trace(kTraceDebug, "Application configuration: " + ToJson(*config_));
    }
    factory_ = std::make_shared<Factory>(config_, std::move(locator), GetTracer());
}

bool Application::Run()
{
    return factory_->CreateConfiguredAction()->Run();
}

}  // namespace integrity_check_tool
