#include "revocation_checker.h"

#include <algorithm>
#include <new>

#include <openssl/err.h>

#include "library.h"
#include "lum/result.h"
#include "x509_util.h"

namespace crypto::lum {

namespace {

void Report(const LumRevocationReporter& reporter, const char* message, ByteSpan data,
            std::uint32_t index, std::int32_t result)
{
    if (reporter) {
        reporter(message, data.data(), data.size(), index, result);
    }
}

std::int32_t AddEntries(std::span<const ByteSpan> roots, bool required,
                        std::vector<RevocationChecker::Entry>& entries)
{
    for (const ByteSpan der : roots) {
        RevocationChecker::Entry entry;
        entry.root = ParseCertificate(der);
        if (!entry.root) {
            return lumErrInvalidFormat;
        }
        entry.hierarchyId = SerialMagnitude(*entry.root);
        entry.required = required;
        entries.push_back(std::move(entry));
    }
    return lumOk;
}

/// A database is accepted only when its CRL names the root as issuer and
/// carries the root key's signature.
bool IsSignedByRoot(X509_CRL& crl, X509& root)
{
    EVP_PKEY* key = X509_get0_pubkey(&root);
    return key != nullptr &&
           X509_NAME_cmp(X509_CRL_get_issuer(&crl), X509_get_subject_name(&root)) == 0 &&
           X509_CRL_verify(&crl, key) == 1;
}

std::int32_t LoadDatabases(ByteSpan container, const LumRevocationReporter& reporter,
                           std::vector<RevocationChecker::Entry>& entries)
{
    const auto databases = ParseContainer(container);
    if (!databases) {
        Report(reporter, "Failed to load revocation databases container.", {}, kNoDatabaseIndex,
               lumErrInvalidFormat);
        return lumErrInvalidFormat;
    }
    for (std::size_t i = 0; i < databases->size(); ++i) {
        const RevocationDatabaseView& database = (*databases)[i];
        const auto index = static_cast<std::uint32_t>(i);
        if (database.hierarchyId.empty()) {
            Report(reporter, "Failed to get revocation databases identifier.", {}, index,
                   lumErrInvalidFormat);
            return lumErrInvalidFormat;
        }
        const auto entry = std::find_if(
            entries.begin(), entries.end(), [&](const RevocationChecker::Entry& candidate) {
                return std::equal(candidate.hierarchyId.begin(), candidate.hierarchyId.end(),
                                  database.hierarchyId.begin(), database.hierarchyId.end());
            });
        if (entry == entries.end()) {
            continue;  // a hierarchy this verifier does not accept
        }
        if (entry->crl) {
            Report(reporter, "Duplicate revocation database.", database.hierarchyId, index,
                   lumErrRdbAlreadyExists);
            return lumErrRdbAlreadyExists;
        }
        X509CrlPtr crl = ParseCrl(database.crl);
        if (!crl) {
            Report(reporter, "Failed to load revocation database.", database.hierarchyId, index,
                   lumErrInvalidFormat);
            return lumErrInvalidFormat;
        }
        if (!IsSignedByRoot(*crl, *entry->root)) {
            Report(reporter, "Failed to verify signature of revocation database.",
                   database.hierarchyId, index, lumErrInvalidSignature);
            return lumErrInvalidSignature;
        }
        const STACK_OF(X509_REVOKED)* revoked = X509_CRL_get_REVOKED(crl.get());
        entry->info.hierarchyId = entry->hierarchyId;
        entry->info.issued = TimeText(X509_CRL_get0_lastUpdate(crl.get()));
        entry->info.size = database.crl.size();
        entry->info.revokedCount =
            revoked != nullptr ? static_cast<std::size_t>(sk_X509_REVOKED_num(revoked)) : 0;
        entry->crl = std::move(crl);
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].required && !entries[i].crl) {
            Report(reporter, "Required revocation database is absent.", entries[i].hierarchyId,
                   static_cast<std::uint32_t>(i), lumErrRdbAbsent);
            return lumErrRdbAbsent;
        }
    }
    return lumOk;
}

}  // namespace

const RevocationDatabaseInfo* RevocationChecker::GetDatabase(std::size_t index) const
{
    return index < entries_.size() && entries_[index].crl ? &entries_[index].info : nullptr;
}

X509_CRL* RevocationChecker::FindCrl(const X509& root) const
{
    for (const Entry& entry : entries_) {
        if (entry.crl && X509_cmp(entry.root.get(), &root) == 0) {
            return entry.crl.get();
        }
    }
    return nullptr;
}

std::int32_t LumCreateRevocationChecker(std::span<const ByteSpan> requiredRoots,
                                        std::span<const ByteSpan> optionalRoots,
                                        std::uint32_t /*flags*/, ByteSpan container,
                                        const LumRevocationReporter& reporter,
                                        ILumRevocationCheckerPtr& checker)
{
    if (!IsLibraryInitialized()) {
        return lumErrNotInitialized;
    }
    if (requiredRoots.empty() && optionalRoots.empty()) {
        return lumErrInvalidArgument;
    }
    try {
        std::vector<RevocationChecker::Entry> entries;
        entries.reserve(requiredRoots.size() + optionalRoots.size());
        std::int32_t result = AddEntries(requiredRoots, true, entries);
        if (result == lumOk) {
            result = AddEntries(optionalRoots, false, entries);
        }
        if (result == lumOk && !container.empty()) {
            result = LoadDatabases(container, reporter, entries);
        }
        ERR_clear_error();
        if (result == lumOk) {
            checker = zel::MakeIntrusive<RevocationChecker>(std::move(entries));
        }
        return result;
    } catch (const std::bad_alloc&) {
        return lumErrBadAlloc;
    }
}

}  // namespace crypto::lum
