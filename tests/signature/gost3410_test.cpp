#include <map>
#include <optional>
#include <span>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <openssl/asn1.h>
#include <openssl/err.h>

#include "hash/streebog.h"
#include "signature/gost3410.h"
#include "signature/gost_asn1.h"
#include "signature/gost_curve.h"
#include "signature/gost_public_key.h"
#include "utils/hash_test_data.h"

namespace integrity_check_tool::test {
std::vector<std::span<const std::uint8_t>> Gost3410VectorFile();
}

namespace integrity_check_tool::vorn {
namespace {

using test::Hex;
using Entry = std::map<std::string, std::string>;

// The blocks of the vectors file (blank-line separated "key: value" lines)
// of the given kind.
std::vector<Entry> OfKind(const std::string& kind)
{
    const auto file = test::Gost3410VectorFile().front();
    std::istringstream text(std::string(file.begin(), file.end()));
    std::vector<Entry> entries(1);
    for (std::string line; std::getline(text, line);) {
        const std::size_t colon = line.find(": ");
        if (line.empty() && !entries.back().empty()) {
            entries.emplace_back();
        } else if (!line.empty() && line[0] != '#' && colon != std::string::npos) {
            entries.back().emplace(line.substr(0, colon), line.substr(colon + 2));
        }
    }
    std::erase_if(entries, [&](const Entry& entry) {
        return !entry.contains("kind") || entry.at("kind") != kind;
    });
    return entries;
}

const GostCurve& CurveOf(const Entry& vector)
{
    for (const Entry& curve : OfKind("curve")) {
        if (curve.at("name") != vector.at("curve")) {
            continue;
        }
        if (const GostCurve* found =
                FindGostCurve(curve.at("oid"), std::stoul(curve.at("hash-bits")))) {
            return *found;
        }
    }
    throw std::runtime_error("unknown curve " + vector.at("curve"));
}

BignumPtr Number(const std::string& hex)
{
    BIGNUM* value = nullptr;
    BN_hex2bn(&value, hex.c_str());
    return BignumPtr(value);
}

// The key X || Y (little-endian) of a vector as a SubjectPublicKeyInfo.
Result ParseKey(const GostCurve& curve, const std::string& pubHex,
                std::optional<GostPublicKey>& key)
{
    Blob bits{0x00};
    const Blob octets = DerElement(V_ASN1_OCTET_STRING, Hex(pubHex));
    bits.insert(bits.end(), octets.begin(), octets.end());
    Blob content = EncodeGostAlgorithm(curve, curve.Oid());
    const Blob bitString = DerElement(V_ASN1_BIT_STRING, bits);
    content.insert(content.end(), bitString.begin(), bitString.end());
    const Blob der = DerElement(V_ASN1_SEQUENCE | V_ASN1_CONSTRUCTED, content);
    std::span<const std::uint8_t> rest(der);
    return GostPublicKey::Parse(rest, key);
}

// The worked examples of the standard give e, k and every intermediate value.
TEST(Gost3410Test, WorkedExamplesOfTheStandard)
{
    const auto examples = OfKind("example");
    ASSERT_EQ(examples.size(), 2u);
    for (const Entry& example : examples) {
        SCOPED_TRACE(example.at("name"));
        const GostCurve& curve = CurveOf(example);
        const BignumPtr d = Number(example.at("d"));
        const BignumPtr e = Number(example.at("e"));
        const GostPublicKey derived(curve, curve.Oid(), Gost3410::PublicPoint(curve, *d));
        EXPECT_EQ(derived.Coordinates(), Hex(example.at("pub-hex")));
        EXPECT_EQ(BN_cmp(Gost3410::DigestToE(curve, Hex(example.at("digest-hex"))).get(), e.get()),
                  0);

        const auto signature = Gost3410::SignE(curve, *d, *e, *Number(example.at("k")));
        ASSERT_TRUE(signature.has_value());
        EXPECT_EQ(*signature, Hex(example.at("sig-hex")));
        EXPECT_TRUE(Gost3410::VerifyE(curve, derived.Point(), *e, *Number(example.at("r")),
                                      *Number(example.at("s"))));
        EXPECT_TRUE(
            Gost3410::Verify(curve, derived.Point(), Hex(example.at("digest-hex")), *signature));

        std::optional<GostPublicKey> parsed;
        const Blob spki = Hex(example.at("spki-hex"));
        std::span<const std::uint8_t> rest(spki);
        ASSERT_EQ(GostPublicKey::Parse(rest, parsed), kSuccess);
        EXPECT_TRUE(rest.empty());
        EXPECT_EQ(parsed->Coordinates(), Hex(example.at("pub-hex")));
        EXPECT_EQ(parsed->ToDer(), spki);
    }
}

// Valid signatures on every curve, the reduction of e, and refusals: r or s
// out of range, swapped or changed bytes, another key, a key off its curve.
TEST(Gost3410Test, SignatureVectors)
{
    const auto vectors = OfKind("signature");
    ASSERT_GE(vectors.size(), 40u);
    for (const Entry& vector : vectors) {
        SCOPED_TRACE(vector.at("name"));
        const GostCurve& curve = CurveOf(vector);
        const Blob digest = Hex(vector.at("digest-hex"));
        const std::string input = vector.at("input");
        if (input.starts_with("hex:")) {
            EXPECT_EQ(Streebog::Digest(curve.DigestSize(), Hex(input.substr(4))), digest);
        }
        std::optional<GostPublicKey> key;
        const Result parsed = ParseKey(curve, vector.at("pub-hex"), key);
        const bool valid = vector.at("valid") == "yes";
        if (!valid && parsed != kSuccess) {
            continue;  // a key off its curve is refused before any signature
        }
        ASSERT_EQ(parsed, kSuccess);
        const Blob signature = Hex(vector.at("sig-hex"));
        EXPECT_EQ(Gost3410::Verify(curve, key->Point(), digest, signature), valid);
        if (vector.contains("spki-hex")) {
            std::optional<GostPublicKey> fromSpki;
            const Blob spki = Hex(vector.at("spki-hex"));
            std::span<const std::uint8_t> rest(spki);
            ASSERT_EQ(GostPublicKey::Parse(rest, fromSpki), kSuccess);
            EXPECT_EQ(fromSpki->Id(), key->Id());
        }
        if (vector.contains("k") && vector.contains("d")) {
            const auto again =
                Gost3410::SignE(curve, *Number(vector.at("d")), *Gost3410::DigestToE(curve, digest),
                                *Number(vector.at("k")));
            ASSERT_TRUE(again.has_value());
            EXPECT_EQ(*again, signature);
        }
    }
}

// On the cofactor-4 curve, q * P for a point P of the whole curve lies
// outside the subgroup of order q; so does that plus the generator. Keys off
// their curve are among the signature vectors.
TEST(Gost3410Test, KeyOutsideTheSubgroupOrCutShortIsRefused)
{
    const GostCurve& curve = *FindGostCurve("1.2.643.7.1.2.1.1.1", 256);
    const EC_GROUP* group = curve.Group();
    const BignumPtr x(BN_new());
    EcPointPtr outside(EC_POINT_new(group));
    for (BN_ULONG word = 1; word < 1000; ++word) {
        BN_set_word(x.get(), word);
        if (EC_POINT_set_compressed_coordinates(group, outside.get(), x.get(), 0, nullptr) == 1 &&
            EC_POINT_mul(group, outside.get(), nullptr, outside.get(), curve.Order(), nullptr) &&
            EC_POINT_is_at_infinity(group, outside.get()) == 0) {
            break;
        }
    }
    ERR_clear_error();  // values of x without a point
    EC_POINT_add(group, outside.get(), outside.get(), EC_GROUP_get0_generator(group), nullptr);
    ASSERT_EQ(EC_POINT_is_on_curve(group, outside.get(), nullptr), 1);
    Blob der = GostPublicKey(curve, curve.Oid(), std::move(outside)).ToDer();
    std::span<const std::uint8_t> rest(der);
    std::optional<GostPublicKey> key;
    EXPECT_EQ(GostPublicKey::Parse(rest, key), kInvalidParameters);
    EXPECT_FALSE(key.has_value());

    // A SubjectPublicKeyInfo cut short.
    der.pop_back();
    rest = der;
    EXPECT_EQ(GostPublicKey::Parse(rest, key), kInvalidParameters);
}

}  // namespace
}  // namespace integrity_check_tool::vorn
