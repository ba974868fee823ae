#include "zel/service_locator.h"

#include <new>

namespace zel {

ServiceLocator::ServiceLocator()
    : systemInformation_(CreateSystemInformationService()), environment_(CreateProcessEnvironment())
{
}

Result ServiceLocator::CreateTraceChannel(const std::optional<std::string>& path,
                                          ITraceChannelPtr& channel) const
{
    return path ? CreateFileTraceChannel(*path, channel) : CreateStdoutTraceChannel(channel);
}

Result ServiceLocator::CreateTraceFormatter(TraceFormatterPtr& formatter) const
{
    try {
        formatter = MakeIntrusive<TraceFormatter>();
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
    return kOk;
}

Result ServiceLocator::CreateTracer(TraceFormatterPtr formatter, ITraceChannelPtr channel,
                                    intrusive_ptr<Tracer>& tracer) const
{
    if (!formatter || !channel) {
        return kInvalidArgument;
    }
    try {
        tracer = MakeIntrusive<Tracer>(std::move(formatter), std::move(channel));
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
    return kOk;
}

}  // namespace zel
