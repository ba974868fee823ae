#pragma once

#include <cstdint>
#include <span>

#include <crypto/openssl_handles.h>

#include "types.h"

namespace integrity_check_tool::sign {

using crypto::CmsPtr;

/// A file with a lum signature, opened to be time-stamped: its content, the
/// signature's DER and the value its one signer signed with.
class LumSignedFile final {
public:
    /// Reads `path`; throws Exception when it is not a regular file, when it
    /// carries no signature or a vorn2 one, when the signature is malformed
    /// and when its CMS has not exactly one signer.
    explicit LumSignedFile(const Path& path);
    LumSignedFile(const LumSignedFile&) = delete;
    LumSignedFile& operator=(const LumSignedFile&) = delete;

    const Path& GetPath() const noexcept { return path_; }
    /// The bytes before the signature.
    std::span<const std::uint8_t> Content() const noexcept { return content_; }
    /// The DER CMS ContentInfo between the content and the trailer.
    std::span<const std::uint8_t> SignatureDer() const noexcept { return der_; }
    /// The SHA-256 digest of the signer's signature value: the message
    /// imprint of its time-stamp token.
    const Blob& Imprint() const noexcept { return imprint_; }

private:
    Path path_;
    Blob bytes_;
    std::span<const std::uint8_t> content_;
    std::span<const std::uint8_t> der_;
    Blob imprint_;
};

}  // namespace integrity_check_tool::sign
