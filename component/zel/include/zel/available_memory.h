#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zel {

/// Bytes the process can take before the kernel has to kill to find memory:
/// the system's available memory plus free swap, lowered to the tightest
/// memory limit of the control groups the process belongs to. Empty when the
/// system does not say. The roots are parameters so that tests can pass
/// their own trees.
std::optional<std::uint64_t> AvailableMemory(const std::string& procRoot = "/proc",
                                             const std::string& cgroupRoot = "/sys/fs/cgroup");

/// False when `bytes` is known not to fit in AvailableMemory(). Below
/// kMemoryCheckThreshold it answers true without asking the system, so that
/// small reads stay free of the extra file reads.
bool FitsInMemory(std::uint64_t bytes);

inline constexpr std::uint64_t kMemoryCheckThreshold = 64 * 1024 * 1024;

}  // namespace zel
