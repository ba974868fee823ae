#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <zel/ref_counted.h>
#include <zel/result.h>
#include <zel/tracer.h>

#include "lum/flags.h"
#include "lum/format.h"
#include "lum/result.h"

namespace crypto::lum {

/// The certificate that made a signature.
struct LumSignerDetails {
    std::string subject;    ///< RFC 2253 one-line form, "CN=Leaf,O=Maker"
    std::string serial;     ///< upper-case hex, no leading "0x"
    std::int64_t notAfter;  ///< Unix time
};

/// Outcome of one verification.
class ILumSignatureVerificationResult : public zel::RefCounted {
public:
    /// Stores the verification flags (flags.h); lumErrInvalidArgument on null.
    virtual std::int32_t GetFlags(std::uint32_t* flags) const = 0;
    /// Stores the size of the signed content (the bytes before the signature);
    /// lumErrInvalidArgument on null, lumSignatureNotFound when no signature was located.
    virtual std::int32_t GetCheckedContentSize(std::uint64_t* size) const = 0;
    /// Stores the signer certificate's details, also for a refused signature;
    /// lumErrInvalidArgument on null, lumErrNotFound when the signature does
    /// not carry the certificate it names.
    virtual std::int32_t GetSigner(LumSignerDetails* signer) const = 0;
    /// Stores the time (Unix time) a good time-stamp token proved;
    /// lumErrInvalidArgument on null, lumErrNotFound without such a token.
    virtual std::int32_t GetTimestampTime(std::int64_t* time) const = 0;
};
using ILumSignatureVerificationResultPtr = zel::intrusive_ptr<ILumSignatureVerificationResult>;

/// Verifies signed objects against the roots and revocation data it was made with.
class ILumSignatureVerifier : public zel::RefCounted {
public:
    /// Verifies a whole signed object held in memory. Always sets `result` (flags say why it
    /// failed) unless arguments are invalid; returns lumOk only for a good, trusted, unrevoked
    /// signature.
    virtual std::int32_t VerifyObject(ByteSpan object,
                                      ILumSignatureVerificationResultPtr& result) = 0;
    /// Same, and requires the signed attribute `oid` (dotted) whose BMPString value equals
    /// `additionalContent` (big-endian UTF-16 bytes, see FileNameToBmp); lumErrInvalidArgument for
    /// an OID that does not parse.
    virtual std::int32_t
    VerifyObjectWithAdditionalContent(ByteSpan object, const std::string& oid,
                                      ByteSpan additionalContent,
                                      ILumSignatureVerificationResultPtr& result) = 0;
};
using ILumSignatureVerifierPtr = zel::intrusive_ptr<ILumSignatureVerifier>;

/// roots: DER root certificates; crlContainer: the lumcrl.rdb bytes, empty when none. Returns
/// zel::kOk, zel::kInvalidArgument (no tracer), lumErrInvalidArgument (no roots), or a generic
/// failure (zel::kFail) after tracing why.
zel::Result LumCreateVerifier(const zel::ITracerPtr& tracer, const std::vector<Bytes>& roots,
                              ByteSpan crlContainer, ILumSignatureVerifierPtr& verifier);
/// Same, and accepts time-stamp tokens of the TSAs under `tsaRoots` (DER): a
/// signature whose token checks out has its signer's chain validated at the
/// token's time and reports CounterSignatureUsed. Without TSA roots every
/// token fails. A database in the container for a TSA root applies to its
/// TSAs; none is required.
zel::Result LumCreateVerifier(const zel::ITracerPtr& tracer, const std::vector<Bytes>& roots,
                              const std::vector<Bytes>& tsaRoots, ByteSpan crlContainer,
                              ILumSignatureVerifierPtr& verifier);

/// Takes a reference on the library; pair each success with LumReleaseLibrary.
std::int32_t LumInitializeLibrary();
/// Drops a reference taken by LumInitializeLibrary.
void LumReleaseLibrary();
/// Stores the GOST provider's version tag; -1 when `out` is null.
std::int32_t LumCryptoPro_GetGostLibraryVersionString(const char** out);

}  // namespace crypto::lum
