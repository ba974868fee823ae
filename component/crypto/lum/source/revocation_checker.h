#pragma once

#include <vector>

#include <crypto/openssl_handles.h>

#include "lum/revocation.h"

namespace crypto::lum {

/// Roots with their verified revocation databases.
class RevocationChecker final : public ILumRevocationChecker {
public:
    struct Entry {
        X509Ptr root;
        Bytes hierarchyId;
        bool required = false;
        X509CrlPtr crl;  ///< null when the root has no database
        RevocationDatabaseInfo info;
    };

    explicit RevocationChecker(std::vector<Entry> entries) : entries_(std::move(entries)) {}

    std::size_t GetRootCount() const override { return entries_.size(); }
    const RevocationDatabaseInfo* GetDatabase(std::size_t index) const override;

    X509_CRL* FindCrl(const X509& root) const override;

private:
    std::vector<Entry> entries_;
};

}  // namespace crypto::lum
