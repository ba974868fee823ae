#pragma once

#include <optional>
#include <string>

#include "zel/environment.h"
#include "zel/ref_counted.h"
#include "zel/result.h"
#include "zel/system_information.h"
#include "zel/tracer.h"

namespace zel {

/// Hands out the framework's services. The default locator gives the real
/// ones; tests replace single services with fakes.
class ServiceLocator final : public RefCounted {
public:
    ServiceLocator();

    const ISystemInformationServicePtr& GetSystemInformation() const noexcept
    {
        return systemInformation_;
    }
    const IEnvironmentVariablesPtr& GetEnvironment() const noexcept { return environment_; }

    void SetSystemInformation(ISystemInformationServicePtr service)
    {
        systemInformation_ = std::move(service);
    }
    void SetEnvironment(IEnvironmentVariablesPtr environment)
    {
        environment_ = std::move(environment);
    }

    /// Channel to the file at `path`, or to standard output without a path.
    Result CreateTraceChannel(const std::optional<std::string>& path,
                              ITraceChannelPtr& channel) const;
    Result CreateTraceFormatter(TraceFormatterPtr& formatter) const;
    Result CreateTracer(TraceFormatterPtr formatter, ITraceChannelPtr channel,
                        intrusive_ptr<Tracer>& tracer) const;

private:
    ISystemInformationServicePtr systemInformation_;
    IEnvironmentVariablesPtr environment_;
};
using ServiceLocatorPtr = intrusive_ptr<ServiceLocator>;

}  // namespace zel
