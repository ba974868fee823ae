// Arbitrary bytes as a "lum" signed object, verified against the fuzz root,
// which also roots the time-stamping authority of tokens.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <lum/service.h>

#include "fuzz_target.h"
#include "lum_fuzz_root.h"

namespace {

class NullTracer final : public zel::ITracer {
public:
    bool IsEnabled(std::uint32_t /*level*/) const noexcept override { return false; }
    void Write(std::uint32_t /*level*/, std::string_view /*message*/) noexcept override {}
};

crypto::lum::ILumSignatureVerifierPtr MakeVerifier()
{
    crypto::lum::ILumSignatureVerifierPtr verifier;
    // The fuzz root also stands for the TSA root, so a seed's token is checked in full.
    if (crypto::lum::LumCreateVerifier(zel::MakeIntrusive<NullTracer>(), {LumFuzzRootDer()},
                                       {LumFuzzRootDer()}, {}, verifier) != zel::kOk) {
        std::abort();
    }
    return verifier;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace crypto::lum;
    static const ILumSignatureVerifierPtr verifier = MakeVerifier();
    static const Bytes fileName = *FileNameToBmp("manifest.xml");
    const ByteSpan object(data, size);

    ILumSignatureVerificationResultPtr result;
    const std::int32_t plain = verifier->VerifyObject(object, result);
    std::uint32_t flags = 0;
    std::uint64_t contentSize = 0;
    if (!result || result->GetFlags(&flags) != lumOk) {
        std::abort();
    }
    // A good signature is trusted and covers bytes that lie inside the object.
    if (plain == lumOk &&
        ((flags & flags::kTrusted) == 0 || result->GetCheckedContentSize(&contentSize) != lumOk ||
         contentSize >= size)) {
        std::abort();
    }
    verifier->VerifyObjectWithAdditionalContent(object, FileNameAttributeOid(), fileName, result);
    return 0;
}
