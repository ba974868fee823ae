#pragma once

#include <string>
#include <vector>

#include <crypto/openssl_handles.h>

#include "types.h"

namespace integrity_check_tool::sign {

using crypto::X509Ptr;

/// Collects CRLs, each matched to the root that issued and signed it, into
/// the revocation container the checker reads.
class ContainerBuilder final {
public:
    /// Loads the root certificates (PEM or DER); throws Exception when one
    /// can't be read.
    explicit ContainerBuilder(const std::vector<Path>& roots);

    /// Adds the CRL in `path` (PEM or DER); throws Exception naming it when
    /// no root's subject is its issuer and verifies its signature, when
    /// that root already has a CRL, or when the checker would refuse it for
    /// its digest (MD5, SHA-1) or as out of date, not yet valid or without a
    /// next update.
    void Add(const Path& path);

    /// The container's bytes, CRLs in the order added; throws Exception
    /// naming a root that has no CRL, unless it is a compiled-in TSA root.
    Blob Build() const;

    /// One line for each CRL added that goes out of date within kWarningDays.
    const std::vector<std::string>& GetWarnings() const { return warnings_; }

    static constexpr int kWarningDays = 30;

private:
    struct Entry {
        Path crlPath;
        std::size_t root = 0;
        Blob hierarchyId;
        Blob crl;
    };

    std::vector<Path> rootPaths_;
    std::vector<X509Ptr> roots_;
    std::vector<Entry> entries_;
    std::vector<std::string> warnings_;
};

}  // namespace integrity_check_tool::sign
