#include "data_object/value_provider.h"

#include <zel/exception.h>

namespace integrity_check_tool::value_provider {

void Empty::GetValue(IDataObject&, Blob& value) const { value.clear(); }

void Raw::GetValue(IDataObject& object, Blob& value) const
{
    const zel::IIOPtr io = object.GetData();
    Blob content;
    std::uint64_t size = 0;
    if (zel::Succeeded(io->GetSize(&size)) && size < (std::uint64_t{1} << 32)) {
        content.reserve(static_cast<std::size_t>(size));
    }
    std::uint8_t chunk[64 * 1024];
    for (;;) {
        std::size_t got = 0;
        ZEL_CHECK(io->Read(chunk, sizeof chunk, &got));
        if (got == 0) {
            break;
        }
        content.insert(content.end(), chunk, chunk + got);
    }
    value = std::move(content);
}

void Hash::GetValue(IDataObject& object, Blob& value) const
{
    value = hash_->CalculateHash(object.GetData());
}

}  // namespace integrity_check_tool::value_provider
