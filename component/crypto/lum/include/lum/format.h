#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace crypto::lum {

using Bytes = std::vector<std::uint8_t>;
using ByteSpan = std::span<const std::uint8_t>;

/// Signed file: content, DER of a CMS ContentInfo (SignedData, detached),
/// then this trailer: the DER length (4 bytes, big-endian) and the magic.
inline constexpr std::array<std::uint8_t, 8> kSignatureMagic{0x00, 0x4C, 0x55, 0x4D,
                                                             0x53, 0x49, 0x47, 0x01};
inline constexpr std::size_t kTrailerSize = 4 + kSignatureMagic.size();
/// Largest DER accepted: a chain of a dozen certificates and a time-stamp
/// token take tens of KB; past this, decoding alone would cost too much.
inline constexpr std::uint32_t kMaxSignatureSize = 1024 * 1024;
/// Memory that verifying may take per byte of DER: the decoder's structures
/// for the tiniest elements the bounds leave room for. A certificate whose
/// name is a megabyte of empty RDNs, the worst found, takes about 40.
inline constexpr std::uint64_t kMemoryPerSignatureByte = 64;

/// Where the parts of a signed file lie.
struct SignatureLayout {
    std::uint64_t contentSize = 0;  ///< also the offset of the DER
    std::uint32_t derSize = 0;
};

/// The layout of a signed file of `fileSize` bytes whose last bytes are
/// `tail` (at least kTrailerSize of them, or the whole file when shorter);
/// nullopt when the trailer is absent or its length does not fit the file.
std::optional<SignatureLayout> LocateSignature(std::uint64_t fileSize, ByteSpan tail);

/// The trailer for a DER of `derSize` bytes.
std::array<std::uint8_t, kTrailerSize> MakeTrailer(std::uint32_t derSize);

/// Dotted OID of the signed attribute that binds "lum-with-filename"
/// signatures to the file's name (the enterprise number is a build setting).
const char* FileNameAttributeOid();

/// A file name (UTF-8 bytes) as the big-endian UTF-16 content of the
/// attribute's BMPString; nullopt when the name is not valid UTF-8, since
/// replacing bad bytes would let one signature bind several names.
std::optional<Bytes> FileNameToBmp(std::string_view name);

/// Revocation container "lumcrl.rdb": magic, a 4-byte big-endian count, and
/// per database a length-prefixed hierarchy identifier (the big-endian
/// magnitude of the root's serial number) and a length-prefixed DER CRL.
inline constexpr const char* kContainerName = "lumcrl.rdb";
inline constexpr std::array<std::uint8_t, 8> kContainerMagic{0x4C, 0x55, 0x4D, 0x52,
                                                             0x44, 0x42, 0x30, 0x31};

struct RevocationDatabase {
    Bytes hierarchyId;
    Bytes crl;  ///< DER X.509 CRL issued and signed by the hierarchy's root
};

/// Splits a container; nullopt when it is malformed (bad magic, a length
/// beyond the end, bytes left over). Views point into `container`.
struct RevocationDatabaseView {
    ByteSpan hierarchyId;
    ByteSpan crl;
};
std::optional<std::vector<RevocationDatabaseView>> ParseContainer(ByteSpan container);

/// Serialises databases in the given order.
Bytes BuildContainer(const std::vector<RevocationDatabase>& databases);

}  // namespace crypto::lum
