#pragma once

#include "chain_validator.h"
#include "library.h"
#include "lum/revocation.h"
#include "lum/service.h"
#include "timestamp_checker.h"
#include "verification_result.h"

namespace crypto::lum {

/// Checks "lum" signed objects: a detached CMS SignedData behind the
/// content, its signer's chain to the roots, code-signing usage and
/// revocation by the hierarchy's database. A time-stamp token in the
/// signature, once checked, sets the time at which the chain is validated.
class LumSignatureVerifierImpl final : public ILumSignatureVerifier, private zel::TracerProvider {
public:
    /// Throws std::runtime_error when a root does not parse.
    LumSignatureVerifierImpl(zel::ITracerPtr tracer, const std::vector<Bytes>& roots,
                             const std::vector<Bytes>& tsaRoots, ILumRevocationCheckerPtr checker,
                             std::unique_ptr<LibraryReference> library);

    std::int32_t VerifyObject(ByteSpan object, ILumSignatureVerificationResultPtr& result) override;
    std::int32_t
    VerifyObjectWithAdditionalContent(ByteSpan object, const std::string& oid,
                                      ByteSpan additionalContent,
                                      ILumSignatureVerificationResultPtr& result) override;

private:
    /// A signed attribute the signature must carry, with its BMPString value.
    struct RequiredAttribute {
        const ASN1_OBJECT* oid;
        ByteSpan value;
    };

    std::int32_t Verify(ByteSpan object, const RequiredAttribute* attribute,
                        VerificationResult& result) const;
    /// The signature's time-stamp token checked, and traced.
    TimestampResult CheckTimestamp(CMS_SignerInfo& signerInfo) const;
    /// Failure flags of the signer's chain at `at` (now when absent), code-signing
    /// usage and revocation; adds RevocationCheckSkipped when the chain's root
    /// has no database. Revocation applies whatever the time.
    std::uint32_t CheckSigner(X509& signer, STACK_OF(X509) * certificates,
                              std::optional<std::time_t> at) const;

    std::unique_ptr<LibraryReference> library_;
    ChainValidator validator_;
    TimestampChecker timestamps_;
    ILumRevocationCheckerPtr checker_;
};

}  // namespace crypto::lum
