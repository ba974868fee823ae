#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "signature/gost_public_key.h"
#include "types.h"
#include "vorn/result.h"

namespace integrity_check_tool::vorn {

/// Layout of a file signed with GOST R 34.10-2012 ("vorn2"):
///
///   content | record | trailer
///
///   record  = version (1 byte) | key id (8) | signature (2 * W) | length (4)
///   trailer = 00 56 4F 52 4E 32 53 47
///
/// version 1: 256-bit key and 256-bit GOST R 34.11-2012 digest, W = 32;
/// version 2: 512-bit key and 512-bit digest, W = 64. The signature is
/// s || r, each big-endian, W bytes. `length` is big-endian and counts the
/// record's bytes from the version byte through the length field itself
/// (77 for version 1, 141 for version 2). The digest covers the content only.
inline constexpr std::array<std::uint8_t, 8> kVorn2Trailer{0x00, 0x56, 0x4F, 0x52,
                                                           0x4E, 0x32, 0x53, 0x47};
inline constexpr std::uint8_t kVorn2Version256 = 1;
inline constexpr std::uint8_t kVorn2Version512 = 2;
inline constexpr std::size_t kVorn2LengthSize = 4;
/// The largest record (version 2).
inline constexpr std::size_t kVorn2MaxRecordSize = 1 + 8 + 2 * 64 + kVorn2LengthSize;

/// The record's size for `version` (see above), 0 for an unknown version.
std::size_t Vorn2RecordSize(std::uint8_t version) noexcept;

/// The parts of a signed file; the spans point into the parsed bytes.
struct Vorn2Record {
    std::uint8_t version = 0;
    GostKeyId keyId{};
    std::span<const std::uint8_t> signature;
    std::span<const std::uint8_t> content;
};

/// Splits a signed file. kSignatureNotFound without the trailer,
/// kIncompleteSignature when the length does not fit the file or the
/// version's record, kUnknownGostVersion for another version byte;
/// kSuccess with `record` filled otherwise.
Result ParseVorn2Record(std::span<const std::uint8_t> file, Vorn2Record& record) noexcept;

/// Record and trailer for a signature made with `key` (to append to the
/// content). Throws vorn::Exception when the signature's size does not fit
/// the key.
Blob BuildVorn2Record(const GostPublicKey& key, std::span<const std::uint8_t> signature);

}  // namespace integrity_check_tool::vorn
