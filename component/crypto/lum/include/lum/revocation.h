#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include <openssl/types.h>
#include <zel/ref_counted.h>

#include "lum/format.h"

namespace crypto::lum {

/// What a checker knows about one loaded revocation database.
struct RevocationDatabaseInfo {
    Bytes hierarchyId;     ///< big-endian magnitude of the root's serial number
    std::string issued;    ///< the CRL's thisUpdate, "YYYY-MM-DD HH:MM:SS" UTC
    std::size_t size = 0;  ///< bytes of the DER CRL
    std::size_t revokedCount = 0;
};

/// The loaded and verified revocation databases, indexed by root.
class ILumRevocationChecker : public zel::RefCounted {
public:
    /// Number of roots the checker was created for (required first).
    virtual std::size_t GetRootCount() const = 0;
    /// The database of root `index`, or nullptr when it has none.
    virtual const RevocationDatabaseInfo* GetDatabase(std::size_t index) const = 0;
    /// The verified CRL of the hierarchy whose root is `root`; nullptr when it has none.
    virtual X509_CRL* FindCrl(const X509& root) const = 0;
};
using ILumRevocationCheckerPtr = zel::intrusive_ptr<ILumRevocationChecker>;

/// Index passed to the reporter when a failure concerns no single database.
inline constexpr std::uint32_t kNoDatabaseIndex = 0xFFFFFFFF;

/// Called at each failure with its message, the bytes it concerns (the
/// hierarchy identifier where there is one), the database index in the
/// container (the root index for an absent database) and the result code.
using LumRevocationReporter =
    std::function<void(const char* message, const std::uint8_t* data, std::size_t size,
                       std::uint32_t index, std::int32_t result)>;

/// Loads the databases of `container` (see format.h) for the given DER roots:
/// each database must be a CRL issued and signed by the root whose serial it
/// names; databases of other roots are skipped. An empty container loads
/// nothing and requires nothing. Otherwise every required root needs a
/// database (lumErrRdbAbsent); a second one for a root is lumErrRdbAlreadyExists;
/// a CRL whose nextUpdate has passed or is absent, or whose thisUpdate lies in
/// the future, is lumErrInvalidValue. A CRL's signature is verified before its
/// entries are decoded. `flags` is reserved (0). The reporter may be empty.
/// Returns a LumResult.
std::int32_t LumCreateRevocationChecker(std::span<const ByteSpan> requiredRoots,
                                        std::span<const ByteSpan> optionalRoots,
                                        std::uint32_t flags, ByteSpan container,
                                        const LumRevocationReporter& reporter,
                                        ILumRevocationCheckerPtr& checker);

/// Loads `container` as LumCreateRevocationChecker does, to tell people why
/// it fails: returns the LumResult and, on failure, stores in `reason` one
/// line; for lumErrInvalidValue it names the root (subject and serial) and
/// the date that puts the CRL out of force. Takes a library reference itself.
std::int32_t LumCheckRevocationContainer(std::span<const ByteSpan> requiredRoots,
                                         std::span<const ByteSpan> optionalRoots,
                                         ByteSpan container, std::string& reason);

}  // namespace crypto::lum
