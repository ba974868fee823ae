#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include <zel/tracer.h>

#include "hash/gost2012.h"
#include "signature/gost_key_set.h"
#include "signature/signature_verifier.h"

namespace integrity_check_tool::vorn {

/// Checks "vorn2" manifest signatures against one compiled-in key set.
class Gost2012SignatureVerifier final : public ISignatureVerifier, private zel::TracerProvider {
public:
    /// Uses the regular key set (true) or the alternative one (false).
    /// Throws vorn::Exception when the library instance cannot be created
    /// or a compiled-in key cannot be registered.
    Gost2012SignatureVerifier(zel::ITracerPtr tracer, bool regularKeySet);
    /// Uses the given key blobs (see GostKeySet); throws likewise.
    Gost2012SignatureVerifier(zel::ITracerPtr tracer, GostKeyBlobs keys);

    /// Fills `content` with the signed content; throws vorn::Exception and
    /// leaves `content` untouched when the signature is not good.
    void Verify(const Path& file, Blob& content) const override;
    void VerifyWithDetails(const Path& file, Blob& content,
                           SignatureDetails& details) const override
    {
        details = SignatureDetails{"vorn2", {}, std::nullopt, std::nullopt};
        Verify(file, content);
    }

    /// Verifies signed bytes already in memory: the size of the signed
    /// content, or throws vorn::Exception as Verify does.
    static std::size_t VerifySignedBytes(std::span<const std::uint8_t> file,
                                         const GostKeySet& keys);

private:
    std::shared_ptr<const Gost2012> gost_;
    GostKeyBlobs blobs_;
    GostKeySet keys_;
};

}  // namespace integrity_check_tool::vorn
