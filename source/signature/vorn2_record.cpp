#include "signature/vorn2_record.h"

#include <algorithm>

#include "vorn/vorn_exception.h"

namespace integrity_check_tool::vorn {
namespace {

constexpr std::size_t kVersionSize = 1;

std::size_t WidthOf(std::uint8_t version) noexcept
{
    switch (version) {
    case kVorn2Version256:
        return 32;
    case kVorn2Version512:
        return 64;
    default:
        return 0;
    }
}

}  // namespace

std::size_t Vorn2RecordSize(std::uint8_t version) noexcept
{
    const std::size_t width = WidthOf(version);
    return width == 0 ? 0 : kVersionSize + GostKeyId().size() + 2 * width + kVorn2LengthSize;
}

Result ParseVorn2Record(std::span<const std::uint8_t> file, Vorn2Record& record) noexcept
{
    const std::size_t trailer = kVorn2Trailer.size();
    if (file.size() < trailer ||
        !std::equal(kVorn2Trailer.begin(), kVorn2Trailer.end(), file.end() - trailer)) {
        return kSignatureNotFound;
    }
    const std::size_t available = file.size() - trailer;
    if (available < kVorn2LengthSize) {
        return kIncompleteSignature;
    }
    const std::uint8_t* field = file.data() + available - kVorn2LengthSize;
    const std::uint32_t length =
        static_cast<std::uint32_t>(field[0]) << 24 | static_cast<std::uint32_t>(field[1]) << 16 |
        static_cast<std::uint32_t>(field[2]) << 8 | static_cast<std::uint32_t>(field[3]);
    if (length < kVersionSize + kVorn2LengthSize || length > available) {
        return kIncompleteSignature;
    }
    const std::size_t start = available - length;
    const std::uint8_t version = file[start];
    const std::size_t expected = Vorn2RecordSize(version);
    if (expected == 0) {
        return kUnknownGostVersion;
    }
    if (length != expected) {
        return kIncompleteSignature;
    }
    record.version = version;
    std::copy_n(file.begin() + static_cast<std::ptrdiff_t>(start + kVersionSize),
                record.keyId.size(), record.keyId.begin());
    record.signature =
        file.subspan(start + kVersionSize + record.keyId.size(), 2 * WidthOf(version));
    record.content = file.first(start);
    return kSuccess;
}

Blob BuildVorn2Record(const GostPublicKey& key, std::span<const std::uint8_t> signature)
{
    const std::uint8_t version = key.Curve().KeyBits() == 256 ? kVorn2Version256 : kVorn2Version512;
    const std::size_t size = Vorn2RecordSize(version);
    if (signature.size() != 2 * WidthOf(version)) {
        VORN_THROW("Can't sign object", kInvalidParameters);
    }
    Blob bytes;
    bytes.reserve(size + kVorn2Trailer.size());
    bytes.push_back(version);
    bytes.insert(bytes.end(), key.Id().begin(), key.Id().end());
    bytes.insert(bytes.end(), signature.begin(), signature.end());
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<std::uint8_t>((size >> shift) & 0xFF));
    }
    bytes.insert(bytes.end(), kVorn2Trailer.begin(), kVorn2Trailer.end());
    return bytes;
}

}  // namespace integrity_check_tool::vorn
