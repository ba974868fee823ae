#include "tracer.h"

#include <boost/filesystem/operations.hpp>
#include <zel/exception.h>

#include "exception.h"

namespace integrity_check_tool {

zel::ITracerPtr Tracer::Create(const zel::ServiceLocator& locator, std::uint32_t level,
                               const std::optional<Path>& path)
{
    return PrivateConstruct(locator, level, path);
}

zel::ITracerPtr Tracer::PrivateConstruct(const zel::ServiceLocator& locator, std::uint32_t level,
                                         const std::optional<Path>& path)
{
    if (path) {
        boost::system::error_code error;
        const auto status = boost::filesystem::status(*path, error);
        if (boost::filesystem::exists(status) && !boost::filesystem::is_regular_file(status)) {
            ICT_THROW("Trace path %1% is not a file", path->string());
        }
    }
    zel::ITraceChannelPtr channel;
    ZEL_CHECK(
        locator.CreateTraceChannel(path ? std::optional(path->string()) : std::nullopt, channel));
    zel::TraceFormatterPtr formatter;
    ZEL_CHECK(locator.CreateTraceFormatter(formatter));
    ZEL_CHECK(formatter->SetPattern(kPrefixPattern));
    zel::intrusive_ptr<zel::Tracer> tracer;
    ZEL_CHECK(locator.CreateTracer(formatter, channel, tracer));
    ZEL_CHECK(tracer->SetLevel(level));
    return tracer;
}

}  // namespace integrity_check_tool
