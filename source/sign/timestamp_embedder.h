#pragma once

#include <cstdint>
#include <span>

#include "sign/lum_signed_file.h"
#include "types.h"

namespace integrity_check_tool::sign {

/// The bytes of `file` with `token` (a DER TimeStampToken) as the one
/// id-aa-timeStampToken attribute of its signer, replacing any it had: the
/// same content, the re-encoded CMS and a trailer with its new length.
/// Throws Exception when the re-encoded signature no longer verifies over
/// the content with the certificate it carries.
Blob EmbedTimestampToken(const LumSignedFile& file, std::span<const std::uint8_t> token);

}  // namespace integrity_check_tool::sign
