// Signed-file parsing and verification of arbitrary bytes against the
// compiled-in regular GOST key set.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "exception.h"
#include "fuzz_target.h"
#include "signature/gost_key_set.h"
#include "signature/vorn2_record.h"
#include "signature/vorn2_verifier.h"

namespace {

const integrity_check_tool::vorn::GostKeySet& Keys()
{
    using namespace integrity_check_tool::vorn;
    static const GostKeyBlobs blobs = CompiledInGostKeys(true);
    static const GostKeySet keys(blobs.keys256, blobs.keys512);
    return keys;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace integrity_check_tool;
    const std::span<const std::uint8_t> file(data, size);

    vorn::Vorn2Record record;
    if (vorn::ParseVorn2Record(file, record) == vorn::kSuccess) {
        const std::size_t total = record.content.size() + vorn::Vorn2RecordSize(record.version) +
                                  vorn::kVorn2Trailer.size();
        if (total != size || 1 + 8 + record.signature.size() + vorn::kVorn2LengthSize !=
                                 vorn::Vorn2RecordSize(record.version)) {
            std::abort();
        }
    }
    try {
        const std::size_t content =
            vorn::Gost2012SignatureVerifier::VerifySignedBytes(file, Keys());
        if (content >= size) {
            std::abort();
        }
    } catch (const Exception&) {
        // Every failure is a described exception; anything else escapes.
    }
    return 0;
}
