#include "hash/hash_stream.h"

#include <algorithm>
#include <array>

namespace integrity_check_tool {

zel::Result ReadForHashing(zel::IIO& io,
                           const std::function<void(std::span<const std::uint8_t>)>& consume)
{
    std::array<std::uint8_t, kHashReadSize> buffer{};
    for (;;) {
        std::size_t bytesRead = 0;
        const zel::Result result = io.Read(buffer.data(), buffer.size(), &bytesRead);
        if (zel::Failed(result)) {
            return result;
        }
        if (bytesRead == 0) {
            return zel::kOk;
        }
        consume(std::span<const std::uint8_t>(buffer.data(), std::min(bytesRead, buffer.size())));
    }
}

}  // namespace integrity_check_tool
