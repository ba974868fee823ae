#include "sign/container_builder.h"

#include <algorithm>

#include <lum/crl_currency.h>
#include <lum/format.h>
#include <openssl/err.h>
#include <openssl/objects.h>

#include "exception.h"
#include "sign/credentials.h"
#include "sign/messages.h"
#include "sign/openssl_error.h"
#include "signature/lum_roots.h"

namespace integrity_check_tool::sign {

using crypto::BignumPtr;
using crypto::BioPtr;
using crypto::X509CrlPtr;

namespace {

[[noreturn]] void Fail()
{
    ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
}

/// The big-endian magnitude of the root's serial number.
Blob HierarchyId(const X509& root)
{
    const BignumPtr serial(ASN1_INTEGER_to_BN(X509_get0_serialNumber(&root), nullptr));
    if (!serial) {
        Fail();
    }
    Blob id(static_cast<std::size_t>(BN_num_bytes(serial.get())));
    BN_bn2bin(serial.get(), id.data());
    return id;
}

Blob ToDer(X509_CRL& crl)
{
    const int size = i2d_X509_CRL(&crl, nullptr);
    if (size <= 0) {
        Fail();
    }
    Blob der(static_cast<std::size_t>(size));
    unsigned char* cursor = der.data();
    if (i2d_X509_CRL(&crl, &cursor) != size) {
        Fail();
    }
    return der;
}

bool IssuedBy(X509_CRL& crl, X509& root)
{
    const bool issued =
        X509_NAME_cmp(X509_CRL_get_issuer(&crl), X509_get_subject_name(&root)) == 0 &&
        X509_CRL_verify(&crl, X509_get0_pubkey(&root)) == 1;
    ERR_clear_error();
    return issued;
}

/// The checker takes CRL signatures with SHA-2 digests or EdDSA only.
bool HasAcceptedDigest(const X509_CRL& crl)
{
    int digest = NID_undef;
    int key = NID_undef;
    if (OBJ_find_sigid_algs(X509_CRL_get_signature_nid(&crl), &digest, &key) != 1) {
        return false;
    }
    switch (digest) {
    case NID_sha256:
    case NID_sha384:
    case NID_sha512:
        return true;
    case NID_undef:
        return key == NID_ED25519 || key == NID_ED448;
    default:
        return false;
    }
}

std::string TimeText(const ASN1_TIME* time)
{
    const BioPtr bio(BIO_new(BIO_s_mem()));
    if (time == nullptr || !bio || ASN1_TIME_print_ex(bio.get(), time, ASN1_DTFLGS_ISO8601) != 1) {
        return "?";
    }
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return std::string(data, static_cast<std::size_t>(size));
}

/// Whole days until `time`, a started day counting as one, so that a CRL
/// made with --days N today has N days left.
int DaysUntil(const ASN1_TIME& time)
{
    int days = 0;
    int seconds = 0;
    if (ASN1_TIME_diff(&days, &seconds, nullptr, &time) != 1) {
        return 0;
    }
    return seconds > 0 ? days + 1 : days;
}

}  // namespace

ContainerBuilder::ContainerBuilder(const std::vector<Path>& roots) : rootPaths_(roots)
{
    for (const Path& path : roots) {
        roots_.push_back(LoadCertificate(path));
    }
}

void ContainerBuilder::Add(const Path& path)
{
    const X509CrlPtr crl = LoadCrl(path);
    std::size_t root = 0;
    while (root < roots_.size() && !IssuedBy(*crl, *roots_[root])) {
        ++root;
    }
    if (root == roots_.size()) {
        ICT_THROW(messages::kCrlNotFromRoot, path.string());
    }
    if (!HasAcceptedDigest(*crl)) {
        ICT_THROW(messages::kCrlWeakDigest, path.string(),
                  OBJ_nid2ln(X509_CRL_get_signature_nid(crl.get())));
    }
    // The checker refuses a CRL out of force, so a container must not carry one.
    const ASN1_TIME* next = X509_CRL_get0_nextUpdate(crl.get());
    switch (crypto::lum::GetCrlCurrency(*crl)) {
    case crypto::lum::CrlCurrency::Current:
        break;
    case crypto::lum::CrlCurrency::OutOfDate:
        ICT_THROW(messages::kCrlOutOfDate, path.string(), TimeText(next));
    case crypto::lum::CrlCurrency::NotYetValid:
        ICT_THROW(messages::kCrlNotYetValid, path.string(),
                  TimeText(X509_CRL_get0_lastUpdate(crl.get())));
    case crypto::lum::CrlCurrency::NoNextUpdate:
        ICT_THROW(messages::kCrlWithoutNextUpdate, path.string());
    }
    if (DaysUntil(*next) < kWarningDays) {
        warnings_.push_back(
            Format(messages::kCrlDueSoon, path.string(), TimeText(next), kWarningDays));
    }
    // The checker refuses a second database for one hierarchy.
    for (const Entry& entry : entries_) {
        if (entry.root == root) {
            ICT_THROW(messages::kTwoCrlsForRoot, entry.crlPath.string(), path.string(),
                      rootPaths_[root].string());
        }
    }
    entries_.push_back({path, root, HierarchyId(*roots_[root]), ToDer(*crl)});
}

Blob ContainerBuilder::Build() const
{
    // Once a container holds anything, the checker wants a database for
    // every code-signing root it trusts and fails every check without one.
    // A root is given here to be trusted, so a container missing its CRL
    // would stop every check of the flavour that trusts it. TSA roots are
    // exempt: their databases are optional.
    const std::vector<Blob> tsaRoots = lum::TsaRoots();
    for (std::size_t root = 0; root < roots_.size(); ++root) {
        const bool tsa = std::find(tsaRoots.begin(), tsaRoots.end(),
                                   CertificateDer(*roots_[root])) != tsaRoots.end();
        if (!tsa && std::none_of(entries_.begin(), entries_.end(),
                                 [root](const Entry& entry) { return entry.root == root; })) {
            ICT_THROW(messages::kRootWithoutCrl, rootPaths_[root].string(),
                      SubjectOf(*roots_[root]));
        }
    }
    std::vector<crypto::lum::RevocationDatabase> databases;
    for (const Entry& entry : entries_) {
        databases.push_back({entry.hierarchyId, entry.crl});
    }
    return crypto::lum::BuildContainer(databases);
}

}  // namespace integrity_check_tool::sign
