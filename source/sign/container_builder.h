#pragma once

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
    /// no root's subject is its issuer and verifies its signature, or when
    /// that root already has a CRL.
    void Add(const Path& path);

    /// The container's bytes, CRLs in the order added.
    Blob Build() const;

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
};

}  // namespace integrity_check_tool::sign
