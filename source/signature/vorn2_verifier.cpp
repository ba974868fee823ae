#include "signature/vorn2_verifier.h"

#include <algorithm>
#include <new>
#include <optional>

#include <zel/available_memory.h>
#include <zel/file_io.h>

#include "signature/gost3410.h"
#include "signature/gost_curve.h"
#include "signature/vorn2_record.h"
#include "tracer.h"
#include "vorn/vorn_exception.h"

namespace integrity_check_tool::vorn {
namespace {

constexpr Result kFileNotOpened = 0x14064F2A;
constexpr Result kInvalidSignature = 0x38F3542D;

// Manifests are a few megabytes; a file this large is refused rather than
// read into memory.
constexpr std::uint64_t kMaxSignedFileSize = std::uint64_t{1} << 30;

constexpr std::size_t kReadChunk = 256 * 1024;

constexpr const char* kObjectHashStep = "Can't add object hash to VORN parameters list";
constexpr const char* kRegistrySetStep = "Can't prepare registry set";

// The digest of a signed file's content taken while the file is read.
struct StreamedDigest {
    std::uint8_t version = 0;
    std::size_t contentSize = 0;
    Blob value;
};

// The record version and content size that the file's last bytes promise;
// a hint only, checked again against the bytes read.
std::optional<StreamedDigest> PeekRecord(zel::IIO& io, std::uint64_t size)
{
    std::uint8_t tail[kVorn2MaxRecordSize + kVorn2Trailer.size()];
    const std::uint64_t tailSize = std::min<std::uint64_t>(size, sizeof tail);
    std::uint64_t position = 0;
    std::size_t got = 0;
    if (zel::Failed(io.Seek(static_cast<std::int64_t>(size - tailSize), zel::SeekOrigin::Begin,
                            &position)) ||
        zel::Failed(io.Read(tail, static_cast<std::size_t>(tailSize), &got)) || got != tailSize ||
        zel::Failed(io.Seek(0, zel::SeekOrigin::Begin, &position))) {
        return std::nullopt;
    }
    Vorn2Record record;
    if (ParseVorn2Record(std::span(tail, got), record) != kSuccess) {
        return std::nullopt;
    }
    return StreamedDigest{
        record.version, static_cast<std::size_t>(size - tailSize) + record.content.size(), {}};
}

// The whole file, read once: the bytes verified are the bytes handed back,
// so a file replaced between two reads cannot pass. The content is hashed
// chunk by chunk while it is still in the processor's cache.
Blob ReadSignedFile(const Path& file, std::optional<StreamedDigest>& digest)
{
    zel::IIOPtr io;
    if (zel::Failed(zel::FileIO::Open(file.string(), zel::OpenMode::Read, io))) {
        VORN_THROW(kObjectHashStep, kFileNotOpened);
    }
    std::uint64_t size = 0;
    if (zel::Failed(io->GetSize(&size))) {
        VORN_THROW(kObjectHashStep, kHashInputError);
    }
    if (size > kMaxSignedFileSize || !zel::FitsInMemory(size)) {
        VORN_THROW(kObjectHashStep, kOutOfMemory);
    }
    try {
        digest = PeekRecord(*io, size);
        std::optional<Streebog> hash;
        if (digest) {
            hash.emplace(digest->version == kVorn2Version256 ? StreebogSize::Bits256
                                                             : StreebogSize::Bits512);
        }
        Blob data;
        data.reserve(static_cast<std::size_t>(size));
        std::vector<std::uint8_t> chunk(kReadChunk);
        for (;;) {
            std::size_t got = 0;
            if (zel::Failed(io->Read(chunk.data(), chunk.size(), &got))) {
                VORN_THROW(kObjectHashStep, kHashInputError);
            }
            if (got == 0) {
                break;
            }
            if (hash && data.size() < digest->contentSize) {
                hash->Update(
                    std::span(chunk).first(std::min(got, digest->contentSize - data.size())));
            }
            data.insert(data.end(), chunk.begin(),
                        chunk.begin() + static_cast<std::ptrdiff_t>(got));
        }
        if (hash) {
            digest->value = hash->Finish();
        }
        return data;
    } catch (const std::bad_alloc&) {
        VORN_THROW(kObjectHashStep, kOutOfMemory);
    }
}

// The size of the verified content; `streamed` is used when it covers
// exactly the content the record names.
std::size_t VerifyBytes(std::span<const std::uint8_t> file, const GostKeySet& keys,
                        const std::optional<StreamedDigest>& streamed)
{
    Vorn2Record record;
    const Result parsed = ParseVorn2Record(file, record);
    if (parsed == kUnknownGostVersion) {
        VORN_THROW("Unknown Gost version", parsed);
    }
    if (parsed != kSuccess) {
        VORN_THROW(kObjectHashStep, parsed);
    }
    const GostPublicKey* key = keys.Find(record.version, record.keyId);
    if (key == nullptr) {
        VORN_THROW(kRegistrySetStep, kKeyNotFound);
    }
    const bool usable = streamed && streamed->version == record.version &&
                        streamed->contentSize == record.content.size() && !streamed->value.empty();
    const Blob digest =
        usable ? streamed->value : Streebog::Digest(key->Curve().DigestSize(), record.content);
    if (!Gost3410::Verify(key->Curve(), key->Point(), digest, record.signature)) {
        VORN_THROW("Invalid signature", kInvalidSignature);
    }
    return record.content.size();
}

}  // namespace

Gost2012SignatureVerifier::Gost2012SignatureVerifier(zel::ITracerPtr tracer, bool regularKeySet)
    : Gost2012SignatureVerifier(std::move(tracer), CompiledInGostKeys(regularKeySet))
{
}

Gost2012SignatureVerifier::Gost2012SignatureVerifier(zel::ITracerPtr tracer, GostKeyBlobs keys)
    : zel::TracerProvider(std::move(tracer)), gost_(GetGost2012(GetTracer())),
      blobs_(std::move(keys)), keys_(blobs_.keys256, blobs_.keys512)
{
}

void Gost2012SignatureVerifier::Verify(const Path& file, Blob& content) const
{
    // The keys were registered once when the verifier was made.
    Trace(kTraceDebug, "Verifying Gost2012 signature of file %1% ...", file.string());
    std::optional<StreamedDigest> digest;
    Blob data = ReadSignedFile(file, digest);
    data.resize(VerifyBytes(data, keys_, digest));
    content = std::move(data);
    Trace(kTraceDebug, "Gost2012 signature of file %1% is OK", file.string());
}

std::size_t Gost2012SignatureVerifier::VerifySignedBytes(std::span<const std::uint8_t> file,
                                                         const GostKeySet& keys)
{
    return VerifyBytes(file, keys, std::nullopt);
}

}  // namespace integrity_check_tool::vorn
