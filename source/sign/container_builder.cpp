#include "sign/container_builder.h"

#include <lum/format.h>
#include <openssl/err.h>

#include "exception.h"
#include "sign/credentials.h"
#include "sign/messages.h"
#include "sign/openssl_error.h"

namespace integrity_check_tool::sign {

using crypto::BignumPtr;
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
    std::vector<crypto::lum::RevocationDatabase> databases;
    for (const Entry& entry : entries_) {
        databases.push_back({entry.hierarchyId, entry.crl});
    }
    return crypto::lum::BuildContainer(databases);
}

}  // namespace integrity_check_tool::sign
