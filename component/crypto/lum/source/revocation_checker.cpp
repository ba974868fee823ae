#include "revocation_checker.h"

#include <algorithm>
#include <new>
#include <string>

#include <openssl/err.h>

#include "crl_signature.h"
#include "library.h"
#include "lum/crl_currency.h"
#include "lum/result.h"
#include "lum/service.h"
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

/// Why a CRL that is not current is refused, for people: its root and the date at fault.
std::string DescribeCurrency(CrlCurrency currency, const X509_CRL& crl, const X509& root)
{
    const std::string database = "Revocation database of root \"" +
                                 NameText(*X509_get_subject_name(&root)) + "\" (serial " +
                                 Hex(SerialMagnitude(root)) + ")";
    switch (currency) {
    case CrlCurrency::NotYetValid:
        return database + " is not yet valid: it is dated " +
               TimeText(X509_CRL_get0_lastUpdate(&crl)) + " UTC";
    case CrlCurrency::NoNextUpdate:
        return database + " has no next update date, so it would never go out of date";
    default:
        return database + " is out of date: its next update was due " +
               TimeText(X509_CRL_get0_nextUpdate(&crl)) + " UTC";
    }
}

/// `detail` gets the description of a CRL that is not current.
std::int32_t LoadDatabases(ByteSpan container, const LumRevocationReporter& reporter,
                           std::vector<RevocationChecker::Entry>& entries, std::string& detail)
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
        // The signature is checked over the raw bytes before anything is
        // decoded: an unsigned CRL must not cost the memory of its entries.
        const auto parts = SplitCrl(database.crl);
        if (parts && !IsSignedBy(*parts, *entry->root)) {
            Report(reporter, "Failed to verify signature of revocation database.",
                   database.hierarchyId, index, lumErrInvalidSignature);
            return lumErrInvalidSignature;
        }
        X509CrlPtr crl = parts ? ParseCrl(database.crl) : nullptr;
        if (!crl) {
            Report(reporter, "Failed to load revocation database.", database.hierarchyId, index,
                   lumErrInvalidFormat);
            return lumErrInvalidFormat;
        }
        // An outdated CRL could be an old copy without the latest revocations.
        const CrlCurrency currency = GetCrlCurrency(*crl);
        if (currency != CrlCurrency::Current) {
            Report(reporter,
                   currency == CrlCurrency::NotYetValid ? "Revocation database is not yet valid."
                                                        : "Revocation database is out of date.",
                   database.hierarchyId, index, lumErrInvalidValue);
            detail = DescribeCurrency(currency, *crl, *entry->root);
            return lumErrInvalidValue;
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

namespace {

std::int32_t CreateChecker(std::span<const ByteSpan> requiredRoots,
                           std::span<const ByteSpan> optionalRoots, ByteSpan container,
                           const LumRevocationReporter& reporter, ILumRevocationCheckerPtr& checker,
                           std::string& detail)
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
            result = LoadDatabases(container, reporter, entries, detail);
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

}  // namespace

std::int32_t LumCreateRevocationChecker(std::span<const ByteSpan> requiredRoots,
                                        std::span<const ByteSpan> optionalRoots,
                                        std::uint32_t /*flags*/, ByteSpan container,
                                        const LumRevocationReporter& reporter,
                                        ILumRevocationCheckerPtr& checker)
{
    std::string detail;
    return CreateChecker(requiredRoots, optionalRoots, container, reporter, checker, detail);
}

std::int32_t LumCheckRevocationContainer(std::span<const ByteSpan> requiredRoots,
                                         std::span<const ByteSpan> optionalRoots,
                                         ByteSpan container, std::string& reason)
{
    reason.clear();
    if (LumInitializeLibrary() != lumOk) {
        return lumErrNotInitialized;
    }
    const LibraryReference library;
    std::string message;
    ILumRevocationCheckerPtr checker;
    const std::int32_t result = CreateChecker(
        requiredRoots, optionalRoots, container,
        [&message](const char* text, const std::uint8_t*, std::size_t, std::uint32_t,
                   std::int32_t) { message = text; },
        checker, reason);
    if (result != lumOk && reason.empty()) {
        reason = message.empty() ? LumResultName(result) : message;
    }
    return result;
}

}  // namespace crypto::lum
