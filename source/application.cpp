#include "application.h"

#include <iostream>

#include "action/action.h"
#include "exception.h"
#include "report/run_report.h"
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
    const IRunReportPtr report = factory_->GetRunReport();
    bool succeeded = false;
    try {
        succeeded = factory_->CreateConfiguredAction()->Run();
    } catch (...) {
        // The run's own failure is the one reported; an unwritable report
        // only adds its line.
        try {
            report->Finish(1, *factory_->GetStatistics());
        } catch (...) {
            std::cerr << CurrentExceptionMessage() << '\n';
        }
        throw;
    }
    report->Finish(succeeded ? 0 : 1, *factory_->GetStatistics());
    return succeeded;
}

}  // namespace integrity_check_tool
