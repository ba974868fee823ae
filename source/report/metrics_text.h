#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "action/statistics.h"

namespace integrity_check_tool {

/// What the metrics file tells about one run.
struct RunMetrics {
    double endTime = 0;  ///< Unix time
    double durationSeconds = 0;
    int exitStatus = 0;
    std::array<ObjectCounts, 5> counts{};
    /// Each manifest (UTF-8) and whether its signature was verified.
    std::vector<std::pair<std::string, bool>> manifests;
    std::string version;
};

/// Seconds as fixed-point text with three decimals, whatever the locale.
std::string FixedSeconds(double seconds);

/// The metrics in the Prometheus text format 0.0.4.
std::string MetricsText(const RunMetrics& metrics);

}  // namespace integrity_check_tool
