#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "console.h"

namespace integrity_check_tool {

/// Kinds of objects the processor counts, in summary order.
enum class ObjectKind : std::uint32_t { Manifest, File, Directory, RegistryKey, RegistryValue };

/// The kind's name in messages ("file", "registry path", ...).
const char* KindName(ObjectKind kind);

/// The objects of one kind by outcome.
struct ObjectCounts {
    std::uint64_t failed = 0;
    std::uint64_t skipped = 0;
    std::uint64_t succeeded = 0;
};

/// Counts failed, skipped and succeeded objects per kind.
class IStatistics {
public:
    virtual ~IStatistics() = default;
    virtual void AddSucceeded(ObjectKind kind) = 0;
    virtual void AddSkipped(ObjectKind kind) = 0;
    virtual void AddFailed(ObjectKind kind) = 0;
    /// Writes the summary lines to the console's result level.
    virtual void WriteSummary(IConsole& console) const = 0;
    /// The counts of one kind; throws std::out_of_range for an unknown kind.
    virtual const ObjectCounts& Get(ObjectKind kind) const = 0;
};
using IStatisticsPtr = std::shared_ptr<IStatistics>;

class Statistics final : public IStatistics {
public:
    using Counts = ObjectCounts;

    void AddSucceeded(ObjectKind kind) override { At(kind).succeeded++; }
    void AddSkipped(ObjectKind kind) override { At(kind).skipped++; }
    void AddFailed(ObjectKind kind) override { At(kind).failed++; }
    void WriteSummary(IConsole& console) const override;

    const Counts& Get(ObjectKind kind) const override
    {
        return counts_.at(static_cast<std::size_t>(kind));
    }

private:
    Counts& At(ObjectKind kind) { return counts_.at(static_cast<std::size_t>(kind)); }

    std::array<Counts, 5> counts_{};
};

}  // namespace integrity_check_tool
