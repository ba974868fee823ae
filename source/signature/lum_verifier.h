#pragma once

#include <optional>
#include <vector>

#include <zel/tracer.h>

#include "signature/signature_verifier.h"
#include "types.h"

namespace integrity_check_tool {

/// Checks "lum" and "lum-with-filename" (CMS) signatures against one of the
/// compiled-in root sets and the revocation databases of the CRL storage.
class LumSignatureVerifier final : public ISignatureVerifier, private zel::TracerProvider {
public:
    /// Reads the revocation container of `crlStoragePath` when one is given;
    /// throws Exception when it is missing, empty, not read whole or too
    /// large, or holds a CRL out of date or not yet valid.
    LumSignatureVerifier(zel::ITracerPtr tracer, bool regularRoots,
                         const std::optional<Path>& crlStoragePath, bool withFileName);
    /// Checks against `roots` (DER) without revocation data: how a file
    /// about to be written would fare with the checker run without --crl.
    LumSignatureVerifier(zel::ITracerPtr tracer, std::vector<Blob> roots, bool withFileName);

    void Verify(const Path& file, Blob& content) const override;
    void VerifyWithDetails(const Path& file, Blob& content,
                           SignatureDetails& details) const override;
    /// Verifies `data`, the bytes of a file that is or will be at `file`
    /// (its name is what lum-with-filename binds), and returns the signed
    /// content. Throws like Verify; `details` is filled as far as known.
    Blob VerifyBytes(const Path& file, Blob data, SignatureDetails& details) const;

private:
    Blob ReadCrl(const Path& directory) const;
    /// Throws the reason when a CRL of `crl_` for our roots is not in force.
    void RefuseOutdatedCrl() const;

    std::vector<Blob> roots_;
    std::vector<Blob> tsaRoots_;  ///< time-stamping authorities, the same for every flavour
    Blob crl_;
    bool withFileName_;
};

}  // namespace integrity_check_tool
