#pragma once

#include <cstdint>
#include <optional>

#include <zel/service_locator.h>
#include <zel/tracer.h>

#include "types.h"

namespace integrity_check_tool {

/// Trace level limits and the levels the program uses.
inline constexpr std::uint32_t kMaxTraceLevel = 1000;
inline constexpr std::uint32_t kTraceError = 300;
inline constexpr std::uint32_t kTraceDefault = 600;
inline constexpr std::uint32_t kTraceInfo = 700;
inline constexpr std::uint32_t kTraceDebug = 800;

/// The program's tracer, set up once per run.
class Tracer {
public:
    /// Record prefix: local time, thread id, level.
    static constexpr const char* kPrefixPattern = "%X %I %p ";

    /// Builds the tracer writing to `path` or, without one, to standard
    /// output. Throws Exception "Trace path %1% is not a file" when something
    /// other than a regular file exists at `path`, zel::Exception when a
    /// framework call fails.
    static zel::ITracerPtr Create(const zel::ServiceLocator& locator, std::uint32_t level,
                                  const std::optional<Path>& path);

private:
    static zel::ITracerPtr PrivateConstruct(const zel::ServiceLocator& locator, std::uint32_t level,
                                            const std::optional<Path>& path);
};

}  // namespace integrity_check_tool
