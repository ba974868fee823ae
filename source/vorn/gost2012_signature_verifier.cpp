#include "vorn/gost2012_signature_verifier.h"

namespace integrity_check_tool::vorn {

Gost2012SignatureVerifier::Gost2012SignatureVerifier(zel::ITracerPtr tracer, bool regularKeySet)
    : Gost2012SignatureVerifier(std::move(tracer), CompiledInGostKeys(regularKeySet))
{
}

Gost2012SignatureVerifier::Gost2012SignatureVerifier(zel::ITracerPtr tracer, GostKeyBlobs keys)
    : gost_(GetGost2012(tracer)), blobs_(std::move(keys)), keys_(blobs_.keys256, blobs_.keys512)
{
}

void Gost2012SignatureVerifier::Verify(const Path& file, Blob& content) const
{
    // The keys were registered once when the verifier was made.
    gost_->VerifySignature(file, keys_, true, content);
}

}  // namespace integrity_check_tool::vorn
