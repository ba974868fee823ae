#include "vorn/gost2012.h"

#include "utils/hash_stream.h"
#include "utils/utils.h"
#include "vorn/gost3410.h"
#include "vorn/gost_curve.h"
#include "vorn/gost_key_set.h"
#include "vorn/vorn2_record.h"
#include "vorn/vorn_exception.h"

#include <atomic>
#include <new>
#include <zel/exception.h>
#include <zel/file_io.h>

namespace integrity_check_tool::vorn {
namespace {

constexpr std::uint32_t kTraceLevel = 800;
constexpr Result kFileNotOpened = 0x14064F2A;
constexpr Result kInvalidSignature = 0x38F3542D;

constexpr const char* kObjectStep = "Can't add object to VORN parameters list";
constexpr const char* kObjectHashStep = "Can't add object hash to VORN parameters list";
constexpr const char* kRegistrySetStep = "Can't prepare registry set";

// The whole file, read once: the bytes verified are the bytes handed back,
// so a file replaced between two reads cannot pass.
Blob ReadSignedFile(const Path& file)
{
    zel::IIOPtr io;
    if (zel::Failed(zel::FileIO::Open(file.string(), zel::OpenMode::Read, io))) {
        VORN_THROW(kObjectHashStep, kFileNotOpened);
    }
    try {
        return ReadWholeStream(*io);
    } catch (const std::bad_alloc&) {
        VORN_THROW(kObjectHashStep, kOutOfMemory);
    } catch (const zel::Exception&) {
        VORN_THROW(kObjectHashStep, kHashInputError);
    }
}

} // namespace

// The parameter list: the parameter sets every verification looks keys up in.
struct Gost2012::Impl {
    const std::vector<GostCurve>& curves;
};

Gost2012::Gost2012(zel::ITracerPtr tracer) : zel::TracerProvider(std::move(tracer))
{
    Trace(kTraceLevel, "Creating Gost2012 instance ...");
    const std::vector<GostCurve>* curves = nullptr;
    try {
        curves = &GostCurves();
    } catch (const std::bad_alloc&) {
        VORN_THROW("Can't initialize VORN2 library", kOutOfMemory);
    }
    if (curves->empty()) {
        VORN_THROW("Can't create VORN parameters list", kInternalError);
    }
    try {
        impl_ = std::make_unique<const Impl>(Impl{*curves});
    } catch (const std::bad_alloc&) {
        VORN_THROW("Can't create GOST2012 instance", kOutOfMemory);
    }
    Trace(kTraceLevel, "Gost2012 instance created");
}

Gost2012::~Gost2012() = default;

Blob Gost2012::CalculateHash(const zel::intrusive_ptr<zel::IIO>& io) const
{
    return CalculateHash(io, StreebogSize::Bits256);
}

Blob Gost2012::CalculateHash(const zel::intrusive_ptr<zel::IIO>& io, StreebogSize size) const
{
    if (!io) {
        VORN_THROW("Can't calculate hash", kInvalidParameters);
    }
    Streebog hash(size);
    const zel::Result result =
        ReadForHashing(*io, [&hash](std::span<const std::uint8_t> data) { hash.Update(data); });
    if (zel::Failed(result)) {
        // The stream's own code travels along for diagnostics.
        BOOST_THROW_EXCEPTION(Exception("Can't calculate hash", kReadCallbackError)
                              << StreamResult(result));
    }
    return hash.Finish();
}

Blob Gost2012::CalculateHash(std::span<const std::uint8_t> data, StreebogSize size)
{
    return Streebog::Digest(size, data);
}

void Gost2012::VerifySignature(const Path& file, const Blob& keys1, const Blob& keys2,
                               bool embedded, Blob& content) const
{
    const GostKeySet keys(keys1, keys2);
    VerifySignature(file, keys, embedded, content);
}

void Gost2012::VerifySignature(const Path& file, const GostKeySet& keys, bool embedded,
                               Blob& content) const
{
    Trace(kTraceLevel, "Verifying Gost2012 signature of file %1% ...", file.string());
    if (!embedded) {
        VORN_THROW(kObjectStep, kInvalidParameters);
    }
    Blob data = ReadSignedFile(file);
    data.resize(VerifySignedBytes(data, keys));
    content = std::move(data);
    Trace(kTraceLevel, "Gost2012 signature of file %1% is OK", file.string());
}

std::size_t Gost2012::VerifySignedBytes(std::span<const std::uint8_t> file,
                                        const GostKeySet& keys)
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
    const Blob digest = Streebog::Digest(key->Curve().DigestSize(), record.content);
    if (!Gost3410::Verify(key->Curve(), key->Point(), digest, record.signature)) {
        VORN_THROW("Invalid signature", kInvalidSignature);
    }
    return record.content.size();
}

std::shared_ptr<const Gost2012> GetGost2012(const zel::ITracerPtr& tracer)
{
    // Only a weak reference is kept (as for the other hashes): an unused
    // instance goes away, and racing creators make equivalent instances.
    static std::atomic<std::weak_ptr<const Gost2012>> cache;
    if (auto alive = cache.load().lock()) {
        return alive;
    }
    auto created = std::make_shared<const Gost2012>(tracer);
    cache.store(created);
    return created;
}

} // namespace integrity_check_tool::vorn
