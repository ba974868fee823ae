#include "sign/existing_signature.h"

#include "exception.h"
#include "sign/messages.h"
#include "sign/openssl_handles.h"

#include <algorithm>
#include <array>
#include <lum/format.h>
#include <openssl/cms.h>
#include <openssl/err.h>

namespace integrity_check_tool::sign {

namespace {

using Bytes = std::span<const std::uint8_t>;

// The last eight bytes of a file with a GOST R 34.10-2012 signature record.
constexpr std::array<std::uint8_t, 8> kVorn2Magic{0x00, 0x56, 0x4F, 0x52, 0x4E, 0x32, 0x53, 0x47};

template <std::size_t N> bool EndsWith(Bytes file, const std::array<std::uint8_t, N>& magic)
{
    return file.size() >= N && std::equal(magic.begin(), magic.end(), file.end() - N);
}

/// The content before a lum signature, or nullopt when the trailer's length
/// does not fit or the DER before it is not exactly one CMS ContentInfo.
std::optional<Bytes> StripLumSignature(Bytes file)
{
    const auto layout = crypto::lum::LocateSignature(file.size(), file);
    if (!layout) {
        return std::nullopt;
    }
    const unsigned char* der = file.data() + layout->contentSize;
    const unsigned char* cursor = der;
    const CmsPtr cms(d2i_CMS_ContentInfo(nullptr, &cursor, static_cast<long>(layout->derSize)));
    ERR_clear_error();
    if (!cms || cursor != der + layout->derSize) {
        return std::nullopt;
    }
    return file.first(layout->contentSize);
}

// TODO(vorn2): remove the signature record (its length sits just before the
// trailer) once GOST signing lands; until then a vorn2-signed file is refused.
std::optional<Bytes> StripVorn2Signature(Bytes /*file*/, const Path& path)
{
    ICT_THROW(messages::kVorn2StripNotSupported, path.string());
}

} // namespace

ExistingSignature::ExistingSignature(std::span<const std::uint8_t> file) : file_(file)
{
    if (EndsWith(file, crypto::lum::kSignatureMagic)) {
        kind_ = Kind::Lum;
    } else if (EndsWith(file, kVorn2Magic)) {
        kind_ = Kind::Vorn2;
    }
}

const char* ExistingSignature::KindName() const noexcept
{
    return kind_ == Kind::Vorn2 ? "vorn2" : "lum";
}

std::span<const std::uint8_t> ExistingSignature::Strip(const Path& path) const
{
    std::optional<Bytes> content;
    switch (kind_) {
    case Kind::None:
        return file_;
    case Kind::Lum:
        content = StripLumSignature(file_);
        break;
    case Kind::Vorn2:
        content = StripVorn2Signature(file_, path);
        break;
    }
    if (!content) {
        ICT_THROW(messages::kMalformedSignature, path.string(), KindName());
    }
    return *content;
}

} // namespace integrity_check_tool::sign
