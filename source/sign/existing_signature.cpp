#include "sign/existing_signature.h"

#include <algorithm>
#include <array>

#include <crypto/openssl_handles.h>
#include <lum/format.h>
#include <openssl/cms.h>
#include <openssl/err.h>

#include "exception.h"
#include "sign/gost_signer.h"
#include "sign/messages.h"
#include "signature/vorn2_record.h"

namespace integrity_check_tool::sign {

using crypto::CmsPtr;

namespace {

using Bytes = std::span<const std::uint8_t>;

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

/// The content before a vorn2 signature, or nullopt when the record before
/// the trailer is malformed.
std::optional<Bytes> StripVorn2Record(Bytes file)
{
    vorn::Vorn2Record record;
    if (vorn::ParseVorn2Record(file, record) != vorn::kSuccess) {
        return std::nullopt;
    }
    return record.content;
}

}  // namespace

ExistingSignature::ExistingSignature(std::span<const std::uint8_t> file) : file_(file)
{
    if (EndsWith(file, crypto::lum::kSignatureMagic)) {
        kind_ = Kind::Lum;
    } else if (vorn::HasVorn2Signature(file)) {
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
        content = StripVorn2Record(file_);
        break;
    }
    if (!content) {
        ICT_THROW(messages::kMalformedSignature, path.string(), KindName());
    }
    return *content;
}

}  // namespace integrity_check_tool::sign
