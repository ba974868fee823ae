#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "signature/gost_public_key.h"
#include "types.h"

namespace integrity_check_tool::vorn {

/// Trusted public keys for "vorn2" signatures, registered from the two blobs
/// passed to the library: the first holds the 256-bit keys, the second the
/// 512-bit keys. A blob is zero or more DER SubjectPublicKeyInfo structures
/// written one after the other (each is self-delimiting).
class GostKeySet final {
public:
    /// Throws vorn::Exception ("Can't register keys in VORN parameters list")
    /// when a blob holds anything but well-formed keys of its size on known
    /// parameter sets, or a point that is not on its curve.
    GostKeySet(std::span<const std::uint8_t> keys256, std::span<const std::uint8_t> keys512);

    /// The key of the record version (1: 256-bit, 2: 512-bit) with this id,
    /// or null.
    const GostPublicKey* Find(std::uint8_t version, const GostKeyId& id) const noexcept;

    std::size_t Size() const noexcept { return keys256_.size() + keys512_.size(); }

private:
    std::vector<GostPublicKey> keys256_;
    std::vector<GostPublicKey> keys512_;
};

/// The blob pair of a compiled-in key set: the regular set (true) or the
/// alternative one (false). Throws vorn::Exception ("Can't register keys in
/// VORN parameters list") when a compiled-in file is not a PEM public key.
struct GostKeyBlobs {
    Blob keys256;
    Blob keys512;
};
GostKeyBlobs CompiledInGostKeys(bool regular);

/// Sorts PEM or DER public keys into the blob pair (for key files given at
/// run time); throws like CompiledInGostKeys.
GostKeyBlobs MakeGostKeyBlobs(const std::vector<std::span<const std::uint8_t>>& files);

}  // namespace integrity_check_tool::vorn
