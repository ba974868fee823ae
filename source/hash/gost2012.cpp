#include "hash/gost2012.h"

#include <atomic>
#include <new>

#include "hash/hash_stream.h"
#include "tracer.h"
#include "vorn/vorn_exception.h"

namespace integrity_check_tool::vorn {

Gost2012::Gost2012(zel::ITracerPtr tracer) : zel::TracerProvider(std::move(tracer))
{
    Trace(kTraceDebug, "Creating Gost2012 instance ...");
    Trace(kTraceDebug, "Gost2012 instance created");
}

Blob Gost2012::CalculateHash(const zel::intrusive_ptr<zel::IIO>& io) const
{
    return CalculateHash(io, StreebogSize::Bits256);
}

Blob Gost2012::CalculateHash(const zel::intrusive_ptr<zel::IIO>& io, StreebogSize size) const
{
    if (!io) {
        VORN_THROW("Can't calculate hash", kInvalidParameters);
    }
    Streebog hash(size);
    const zel::Result result =
        ReadForHashing(*io, [&hash](std::span<const std::uint8_t> data) { hash.Update(data); });
    if (zel::Failed(result)) {
        // The stream's own code travels along for diagnostics.
        BOOST_THROW_EXCEPTION(Exception("Can't calculate hash", kReadCallbackError)
                              << StreamResult(result));
    }
    return hash.Finish();
}

Blob Gost2012::CalculateHash(std::span<const std::uint8_t> data, StreebogSize size)
{
    return Streebog::Digest(size, data);
}

std::shared_ptr<const Gost2012> GetGost2012(const zel::ITracerPtr& tracer)
{
    // Only a weak reference is kept (as for the other hashes): an unused
    // instance goes away, and racing creators make equivalent instances.
    static std::atomic<std::weak_ptr<const Gost2012>> cache;
    if (auto alive = cache.load().lock()) {
        return alive;
    }
    auto created = std::make_shared<const Gost2012>(tracer);
    cache.store(created);
    return created;
}

}  // namespace integrity_check_tool::vorn
