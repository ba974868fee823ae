// Arbitrary bytes as a GOST public key file (PEM or DER) and as a key blob.
// A key that parses must encode to a key that parses the same, and a file
// accepted for the blobs must make a key set that finds it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <string_view>

#include "exception.h"
#include "fuzz_target.h"
#include "signature/gost_asn1.h"
#include "signature/gost_key_set.h"
#include "signature/gost_public_key.h"
#include "signature/vorn2_record.h"

namespace {

using namespace integrity_check_tool;
using namespace integrity_check_tool::vorn;

void Check(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

std::uint8_t VersionOf(const GostPublicKey& key)
{
    return key.Curve().KeyBits() == 256 ? kVorn2Version256 : kVorn2Version512;
}

void CheckEncoding(const GostPublicKey& key)
{
    const Blob der = key.ToDer();
    std::span<const std::uint8_t> rest(der);
    std::optional<GostPublicKey> again;
    Check(GostPublicKey::Parse(rest, again) == kSuccess && rest.empty());
    Check(&again->Curve() == &key.Curve() && again->ParameterSetOid() == key.ParameterSetOid() &&
          again->Coordinates() == key.Coordinates() && again->Id() == key.Id());
    Check(FromPem("PUBLIC KEY", key.ToPem()) == der);
}

// The key set of one blob; what it takes it must find again.
void CheckBlob(std::span<const std::uint8_t> blob, bool wide)
{
    try {
        const GostKeySet keys(wide ? std::span<const std::uint8_t>() : blob,
                              wide ? blob : std::span<const std::uint8_t>());
        std::span<const std::uint8_t> rest = blob;
        std::optional<GostPublicKey> key;
        while (!rest.empty()) {
            Check(GostPublicKey::Parse(rest, key) == kSuccess &&
                  keys.Find(VersionOf(*key), key->Id()) != nullptr);
        }
    } catch (const Exception&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::span<const std::uint8_t> bytes(data, size);

    std::span<const std::uint8_t> rest = bytes;
    std::optional<GostPublicKey> key;
    if (GostPublicKey::Parse(rest, key) == kSuccess) {
        Check(key && rest.size() < size && rest.data() == data + (size - rest.size()));
        CheckEncoding(*key);
    } else {
        Check(!key && rest.size() == size);
    }

    try {
        const GostKeyBlobs blobs = MakeGostKeyBlobs({bytes});
        const GostKeySet keys(blobs.keys256, blobs.keys512);
        Check(keys.Size() == 1);
        std::span<const std::uint8_t> der(blobs.keys256.empty() ? blobs.keys512 : blobs.keys256);
        std::optional<GostPublicKey> registered;
        Check(GostPublicKey::Parse(der, registered) == kSuccess && der.empty() &&
              keys.Find(VersionOf(*registered), registered->Id()) != nullptr);
        CheckEncoding(*registered);
    } catch (const Exception&) {
    }

    CheckBlob(bytes, false);
    CheckBlob(bytes, true);
    return 0;
}
