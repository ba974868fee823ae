#include "utils/base64.h"

#include <algorithm>

#include <boost/archive/iterators/base64_from_binary.hpp>
#include <boost/archive/iterators/binary_from_base64.hpp>
#include <boost/archive/iterators/transform_width.hpp>

namespace integrity_check_tool {

namespace it = boost::archive::iterators;

std::string Base64Encode(const Blob& bytes)
{
    using Encoder = it::base64_from_binary<it::transform_width<Blob::const_iterator, 6, 8>>;
    std::string text(Encoder(bytes.begin()), Encoder(bytes.end()));
    text.append((3 - bytes.size() % 3) % 3, '=');
    return text;
}

Blob Base64Decode(std::string_view text)
{
    std::string bits(text);
    std::replace(bits.begin(), bits.end(), '=', 'A');
    // The iterators may look one element ahead; whole quads keep them inside.
    const std::size_t tail = bits.size() % 4;
    using Decoder = it::transform_width<it::binary_from_base64<std::string::const_iterator>, 8, 6>;
    Blob bytes;
    bytes.reserve(bits.size() / 4 * 3 + 3);
    const std::string whole = bits.substr(0, bits.size() - tail);
    bytes.assign(Decoder(whole.begin()), Decoder(whole.end()));
    if (tail != 0) {
        // A partial quad: decode it padded and keep only its complete bytes.
        std::string quad = bits.substr(bits.size() - tail);
        quad.append(4 - tail, 'A');
        const Blob last(Decoder(quad.cbegin()), Decoder(quad.cend()));
        bytes.insert(bytes.end(), last.begin(), last.begin() + static_cast<long>(tail * 6 / 8));
    }
    std::size_t padding = 0;
    for (auto c = text.rbegin(); c != text.rend() && *c == '='; ++c) {
        ++padding;
    }
    bytes.resize(bytes.size() - std::min(padding, bytes.size()));
    return bytes;
}

}  // namespace integrity_check_tool
