#include "lum/format.h"

#include <algorithm>

namespace crypto::lum {

namespace {

std::uint32_t ReadBigEndian32(ByteSpan bytes)
{
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | static_cast<std::uint32_t>(bytes[3]);
}

void AppendBigEndian32(Bytes& out, std::uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

/// Reads one length-prefixed field at `offset`; false when it overruns.
bool ReadField(ByteSpan data, std::size_t& offset, ByteSpan& field)
{
    if (data.size() - offset < 4) {
        return false;
    }
    const std::uint32_t length = ReadBigEndian32(data.subspan(offset, 4));
    offset += 4;
    if (data.size() - offset < length) {
        return false;
    }
    field = data.subspan(offset, length);
    offset += length;
    return true;
}

void AppendUtf16(Bytes& out, std::uint32_t unit)
{
    out.push_back(static_cast<std::uint8_t>(unit >> 8));
    out.push_back(static_cast<std::uint8_t>(unit));
}

}  // namespace

#define ICT_STRINGIFY2(x) #x
#define ICT_STRINGIFY(x) ICT_STRINGIFY2(x)

const char* FileNameAttributeOid()
{
    return "1.3.6.1.4.1." ICT_STRINGIFY(ICT_LUM_ENTERPRISE_NUMBER) ".1800.1.1.1";
}

std::optional<Bytes> FileNameToBmp(std::string_view name)
{
    Bytes out;
    out.reserve(name.size() * 2);
    std::size_t i = 0;
    while (i < name.size()) {
        const auto lead = static_cast<std::uint8_t>(name[i]);
        const std::size_t length = lead < 0x80           ? 1
                                   : (lead >> 5) == 0x6  ? 2
                                   : (lead >> 4) == 0xE  ? 3
                                   : (lead >> 3) == 0x1E ? 4
                                                         : 0;
        std::uint32_t code = length == 1   ? lead
                             : length == 2 ? lead & 0x1Fu
                             : length == 3 ? lead & 0x0Fu
                                           : lead & 0x07u;
        bool valid = length != 0 && name.size() - i >= length;
        for (std::size_t k = 1; valid && k < length; ++k) {
            const auto next = static_cast<std::uint8_t>(name[i + k]);
            valid = (next & 0xC0) == 0x80;
            code = code << 6 | (next & 0x3Fu);
        }
        // Overlong forms, surrogates and values past U+10FFFF are not UTF-8.
        static constexpr std::uint32_t kMinimum[] = {0, 0, 0x80, 0x800, 0x10000};
        valid = valid && code >= kMinimum[length] && code <= 0x10FFFF &&
                (code < 0xD800 || code > 0xDFFF);
        if (!valid) {
            return std::nullopt;
        }
        if (code >= 0x10000) {
            AppendUtf16(out, 0xD800 + ((code - 0x10000) >> 10));
            AppendUtf16(out, 0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            AppendUtf16(out, code);
        }
        i += length;
    }
    return out;
}

std::optional<SignatureLayout> LocateSignature(std::uint64_t fileSize, ByteSpan tail)
{
    if (fileSize < kTrailerSize || tail.size() < kTrailerSize) {
        return std::nullopt;
    }
    const ByteSpan trailer = tail.last(kTrailerSize);
    if (!std::equal(kSignatureMagic.begin(), kSignatureMagic.end(), trailer.begin() + 4)) {
        return std::nullopt;
    }
    const std::uint32_t derSize = ReadBigEndian32(trailer);
    if (derSize == 0 || derSize > fileSize - kTrailerSize) {
        return std::nullopt;
    }
    return SignatureLayout{fileSize - kTrailerSize - derSize, derSize};
}

std::array<std::uint8_t, kTrailerSize> MakeTrailer(std::uint32_t derSize)
{
    std::array<std::uint8_t, kTrailerSize> trailer{};
    for (int i = 0; i < 4; ++i) {
        trailer[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(derSize >> (24 - 8 * i));
    }
    std::copy(kSignatureMagic.begin(), kSignatureMagic.end(), trailer.begin() + 4);
    return trailer;
}

std::optional<std::vector<RevocationDatabaseView>> ParseContainer(ByteSpan container)
{
    if (container.size() < kContainerMagic.size() + 4 ||
        !std::equal(kContainerMagic.begin(), kContainerMagic.end(), container.begin())) {
        return std::nullopt;
    }
    const std::uint32_t count = ReadBigEndian32(container.subspan(kContainerMagic.size(), 4));
    std::size_t offset = kContainerMagic.size() + 4;
    std::vector<RevocationDatabaseView> databases;
    // Each database takes at least 8 bytes: never reserve on a claimed count alone.
    databases.reserve(std::min<std::size_t>(count, (container.size() - offset) / 8));
    for (std::uint32_t i = 0; i < count; ++i) {
        RevocationDatabaseView database;
        if (!ReadField(container, offset, database.hierarchyId) ||
            !ReadField(container, offset, database.crl)) {
            return std::nullopt;
        }
        databases.push_back(database);
    }
    if (offset != container.size()) {
        return std::nullopt;
    }
    return databases;
}

Bytes BuildContainer(const std::vector<RevocationDatabase>& databases)
{
    Bytes out(kContainerMagic.begin(), kContainerMagic.end());
    AppendBigEndian32(out, static_cast<std::uint32_t>(databases.size()));
    for (const RevocationDatabase& database : databases) {
        AppendBigEndian32(out, static_cast<std::uint32_t>(database.hierarchyId.size()));
        out.insert(out.end(), database.hierarchyId.begin(), database.hierarchyId.end());
        AppendBigEndian32(out, static_cast<std::uint32_t>(database.crl.size()));
        out.insert(out.end(), database.crl.begin(), database.crl.end());
    }
    return out;
}

}  // namespace crypto::lum
