#include "signature/gost_key_set.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "signature/gost_asn1.h"
#include "signature/vorn2_record.h"
#include "vorn/vorn_exception.h"

namespace integrity_check_tool::vorn {

// Generated from the key files named at configuration time.
std::vector<std::span<const std::uint8_t>> RegularGostKeyFiles();
std::vector<std::span<const std::uint8_t>> AlternativeGostKeyFiles();

namespace {

constexpr const char* kRegisterStep = "Can't register keys in VORN parameters list";

std::vector<GostPublicKey> ParseBlob(std::span<const std::uint8_t> blob, unsigned bits)
{
    std::vector<GostPublicKey> keys;
    while (!blob.empty()) {
        std::optional<GostPublicKey> key;
        const Result result = GostPublicKey::Parse(blob, key);
        if (result != kSuccess) {
            VORN_THROW(kRegisterStep, result);
        }
        if (key->Curve().KeyBits() != bits) {
            VORN_THROW(kRegisterStep, kInvalidParameters);
        }
        keys.push_back(*std::move(key));
    }
    return keys;
}

const GostPublicKey* FindIn(const std::vector<GostPublicKey>& keys, const GostKeyId& id) noexcept
{
    const auto found = std::find_if(keys.begin(), keys.end(),
                                    [&id](const GostPublicKey& key) { return key.Id() == id; });
    return found == keys.end() ? nullptr : &*found;
}

}  // namespace

GostKeySet::GostKeySet(std::span<const std::uint8_t> keys256, std::span<const std::uint8_t> keys512)
    : keys256_(ParseBlob(keys256, 256)), keys512_(ParseBlob(keys512, 512))
{
}

const GostPublicKey* GostKeySet::Find(std::uint8_t version, const GostKeyId& id) const noexcept
{
    switch (version) {
    case kVorn2Version256:
        return FindIn(keys256_, id);
    case kVorn2Version512:
        return FindIn(keys512_, id);
    default:
        return nullptr;
    }
}

GostKeyBlobs MakeGostKeyBlobs(const std::vector<std::span<const std::uint8_t>>& files)
{
    GostKeyBlobs blobs;
    for (const std::span<const std::uint8_t> file : files) {
        const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
        std::optional<Blob> der = FromPem("PUBLIC KEY", text);
        if (!der) {
            der = Blob(file.begin(), file.end());
        }
        std::span<const std::uint8_t> rest(*der);
        std::optional<GostPublicKey> key;
        const Result result = GostPublicKey::Parse(rest, key);
        if (result != kSuccess || !rest.empty()) {
            VORN_THROW(kRegisterStep, result != kSuccess ? result : kInvalidParameters);
        }
        Blob& target = key->Curve().KeyBits() == 256 ? blobs.keys256 : blobs.keys512;
        target.insert(target.end(), der->begin(), der->end());
    }
    return blobs;
}

GostKeyBlobs CompiledInGostKeys(bool regular)
{
    return MakeGostKeyBlobs(regular ? RegularGostKeyFiles() : AlternativeGostKeyFiles());
}

}  // namespace integrity_check_tool::vorn
