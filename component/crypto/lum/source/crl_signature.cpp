#include "crl_signature.h"

#include <algorithm>

#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include "x509_util.h"

namespace crypto::lum {

namespace {

constexpr std::uint8_t kInteger = 0x02;
constexpr std::uint8_t kBitString = 0x03;
constexpr std::uint8_t kSequence = 0x30;

/// One DER element at the front of `input`: its whole encoding and its content.
struct Element {
    ByteSpan whole;
    ByteSpan content;
};

/// Reads the element at the front of `input` when its tag is `tag`, and
/// moves `input` past it.
std::optional<Element> Take(ByteSpan& input, std::uint8_t tag)
{
    if (input.size() < 2 || input[0] != tag) {
        return std::nullopt;
    }
    std::size_t header = 2;
    std::size_t length = input[1];
    if (length >= 0x80) {
        const std::size_t octets = length & 0x7F;
        // Four length octets cover every container we accept.
        if (octets == 0 || octets > 4 || input.size() < 2 + octets) {
            return std::nullopt;
        }
        length = 0;
        for (std::size_t i = 0; i < octets; ++i) {
            length = (length << 8) | input[2 + i];
        }
        header += octets;
    }
    if (length > input.size() - header) {
        return std::nullopt;
    }
    const Element element{input.first(header + length), input.subspan(header, length)};
    input = input.subspan(header + length);
    return element;
}

/// The digest of signature algorithm `sigAlg` for `key`: nullptr for the
/// EdDSA algorithms, which sign the message itself; false when the
/// algorithm is not one we accept or does not fit the key.
bool DigestFor(ByteSpan sigAlg, EVP_PKEY& key, const EVP_MD*& digest)
{
    const unsigned char* cursor = sigAlg.data();
    const OpenSslPtr<X509_ALGOR, X509_ALGOR_free> algorithm(
        d2i_X509_ALGOR(nullptr, &cursor, static_cast<long>(sigAlg.size())));
    int digestNid = NID_undef;
    int keyNid = NID_undef;
    if (!algorithm ||
        OBJ_find_sigid_algs(OBJ_obj2nid(algorithm->algorithm), &digestNid, &keyNid) != 1) {
        return false;
    }
    if (EVP_PKEY_get_base_id(&key) != keyNid) {
        return false;
    }
    if (digestNid == NID_undef) {
        digest = nullptr;
        return keyNid == NID_ED25519 || keyNid == NID_ED448;
    }
    digest = SupportedDigest(digestNid);
    return digest != nullptr;
}

}  // namespace

std::optional<CrlParts> SplitCrl(ByteSpan der)
{
    ByteSpan rest = der;
    const auto list = Take(rest, kSequence);
    if (!list || !rest.empty()) {
        return std::nullopt;
    }
    ByteSpan fields = list->content;
    const auto tbs = Take(fields, kSequence);
    const auto sigAlg = Take(fields, kSequence);
    const auto signature = Take(fields, kBitString);
    if (!tbs || !sigAlg || !signature || !fields.empty() || signature->content.empty() ||
        signature->content[0] != 0) {
        return std::nullopt;
    }
    ByteSpan tbsFields = tbs->content;
    static_cast<void>(Take(tbsFields, kInteger));  // the optional version
    const auto tbsSigAlg = Take(tbsFields, kSequence);
    const auto issuer = Take(tbsFields, kSequence);
    if (!tbsSigAlg || !issuer) {
        return std::nullopt;
    }
    return CrlParts{tbs->whole, tbsSigAlg->whole, issuer->whole, sigAlg->whole,
                    signature->content.subspan(1)};
}

bool IsSignedBy(const CrlParts& parts, X509& root)
{
    EVP_PKEY* key = X509_get0_pubkey(&root);
    const EVP_MD* digest = nullptr;
    if (key == nullptr ||
        !std::equal(parts.tbsSigAlg.begin(), parts.tbsSigAlg.end(), parts.sigAlg.begin(),
                    parts.sigAlg.end()) ||
        !DigestFor(parts.sigAlg, *key, digest)) {
        return false;
    }
    const EvpMdCtxPtr context(EVP_MD_CTX_new());
    if (!context || EVP_DigestVerifyInit(context.get(), nullptr, digest, nullptr, key) != 1 ||
        EVP_DigestVerify(context.get(), parts.signature.data(), parts.signature.size(),
                         parts.tbs.data(), parts.tbs.size()) != 1) {
        return false;
    }
    // Decoded only now: an unsigned name could be as large as the container.
    const unsigned char* cursor = parts.issuer.data();
    const OpenSslPtr<X509_NAME, X509_NAME_free> issuer(
        d2i_X509_NAME(nullptr, &cursor, static_cast<long>(parts.issuer.size())));
    return issuer && X509_NAME_cmp(issuer.get(), X509_get_subject_name(&root)) == 0;
}

}  // namespace crypto::lum
