#include "vorn/gost2012.h"

#include "utils/hash_stream.h"
#include "vorn/vorn_exception.h"

namespace integrity_check_tool::vorn {

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

std::shared_ptr<const Gost2012> GetGost2012()
{
    return SharedInstance<Gost2012>();
}

} // namespace integrity_check_tool::vorn
