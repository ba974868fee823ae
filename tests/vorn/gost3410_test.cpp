#include "utils/hash_test_data.h"
#include "vorn/gost3410.h"
#include "vorn/gost_asn1.h"
#include "vorn/gost_curve.h"
#include "vorn/gost_public_key.h"
#include "vorn/streebog.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <openssl/asn1.h>
#include <openssl/err.h>
#include <optional>
#include <span>
#include <sstream>
#include <string>

namespace integrity_check_tool::test {
std::vector<std::span<const std::uint8_t>> Gost3410VectorFile();
}

namespace integrity_check_tool::vorn {
namespace {

using test::Hex;
using Entry = std::map<std::string, std::string>;

// The vectors file: blank-line separated blocks of "key: value" lines.
const std::vector<Entry>& Vectors()
{
    static const std::vector<Entry> entries = [] {
        const auto file = test::Gost3410VectorFile().front();
        std::istringstream text(std::string(file.begin(), file.end()));
        std::vector<Entry> parsed(1);
        std::string line;
        while (std::getline(text, line)) {
            const std::size_t colon = line.find(": ");
            if (line.empty()) {
                if (!parsed.back().empty()) {
                    parsed.emplace_back();
                }
            } else if (line[0] != '#' && colon != std::string::npos) {
                parsed.back().emplace(line.substr(0, colon), line.substr(colon + 2));
            }
        }
        return parsed;
    }();
    return entries;
}

std::vector<Entry> OfKind(const std::string& kind)
{
    std::vector<Entry> selected;
    for (const Entry& entry : Vectors()) {
        if (entry.count("kind") != 0 && entry.at("kind") == kind) {
            selected.push_back(entry);
        }
    }
    return selected;
}

const GostCurve& CurveOf(const Entry& vector)
{
    const auto curves = OfKind("curve");
    const auto curve = *std::find_if(curves.begin(), curves.end(), [&](const Entry& entry) {
        return entry.at("name") == vector.at("curve");
    });
    const GostCurve* found = FindGostCurve(curve.at("oid"), std::stoul(curve.at("hash-bits")));
    if (found == nullptr) {
        throw std::runtime_error("unknown curve " + curve.at("oid"));
    }
    return *found;
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

// The curve parameters themselves are checked by the vectors signed on
// every curve; here the lookup by OID and digest size.
TEST(Gost3410Test, CurvesAreFoundUnderEveryOidForTheirDigestSizeOnly)
{
    const auto curves = OfKind("curve");
    ASSERT_EQ(curves.size(), GostCurves().size());
    for (const Entry& entry : curves) {
        SCOPED_TRACE(entry.at("name"));
        const unsigned bits = std::stoul(entry.at("hash-bits"));
        const GostCurve* curve = FindGostCurve(entry.at("oid"), bits);
        ASSERT_NE(curve, nullptr);
        EXPECT_EQ(FindGostCurve(entry.at("oid"), bits == 256 ? 512 : 256), nullptr);
        EXPECT_EQ(BN_cmp(curve->Order(), Number(entry.at("q")).get()), 0);
    }
    // Older OIDs of the same curves.
    EXPECT_EQ(FindGostCurve("1.2.643.2.2.35.1", 256), FindGostCurve("1.2.643.7.1.2.1.1.2", 256));
    EXPECT_EQ(FindGostCurve("1.2.643.2.2.36.1", 256), FindGostCurve("1.2.643.7.1.2.1.1.4", 256));
    EXPECT_EQ(FindGostCurve("1.2.643.7.1.2.1.1.9", 256), nullptr);
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
        const BignumPtr k = Number(example.at("k"));

        const EcPointPtr q = Gost3410::PublicPoint(curve, *d);
        const GostPublicKey derived(curve, curve.Oid(), Gost3410::PublicPoint(curve, *d));
        EXPECT_EQ(derived.Coordinates(), Hex(example.at("pub-hex")));

        const BignumPtr fromDigest = Gost3410::DigestToE(curve, Hex(example.at("digest-hex")));
        EXPECT_EQ(BN_cmp(fromDigest.get(), e.get()), 0);

        const auto signature = Gost3410::SignE(curve, *d, *e, *k);
        ASSERT_TRUE(signature.has_value());
        EXPECT_EQ(*signature, Hex(example.at("sig-hex")));

        EXPECT_TRUE(
            Gost3410::VerifyE(curve, *q, *e, *Number(example.at("r")), *Number(example.at("s"))));
        EXPECT_TRUE(Gost3410::Verify(curve, *q, Hex(example.at("digest-hex")), *signature));

        std::optional<GostPublicKey> parsed;
        Blob spki = Hex(example.at("spki-hex"));
        std::span<const std::uint8_t> rest(spki);
        ASSERT_EQ(GostPublicKey::Parse(rest, parsed), kSuccess);
        EXPECT_TRUE(rest.empty());
        EXPECT_EQ(parsed->Coordinates(), Hex(example.at("pub-hex")));
        EXPECT_EQ(parsed->ToDer(), spki);
    }
}

TEST(Gost3410Test, SignatureVectors)
{
    const auto vectors = OfKind("signature");
    ASSERT_GE(vectors.size(), 40u);
    for (const Entry& vector : vectors) {
        SCOPED_TRACE(vector.at("name"));
        const GostCurve& curve = CurveOf(vector);
        const Blob digest = Hex(vector.at("digest-hex"));
        const std::string input = vector.at("input");
        if (input.rfind("hex:", 0) == 0) {
            EXPECT_EQ(Streebog::Digest(curve.DigestSize(), Hex(input.substr(4))), digest);
        }
        std::optional<GostPublicKey> key;
        const Result parsed = ParseKey(curve, vector.at("pub-hex"), key);
        const bool valid = vector.at("valid") == "yes";
        if (!valid && parsed != kSuccess) {
            continue; // a key off its curve is refused before any signature
        }
        ASSERT_EQ(parsed, kSuccess);
        const Blob signature = Hex(vector.at("sig-hex"));
        EXPECT_EQ(Gost3410::Verify(curve, key->Point(), digest, signature), valid);
        if (vector.count("spki-hex") != 0) {
            std::optional<GostPublicKey> fromSpki;
            const Blob spki = Hex(vector.at("spki-hex"));
            std::span<const std::uint8_t> rest(spki);
            ASSERT_EQ(GostPublicKey::Parse(rest, fromSpki), kSuccess);
            EXPECT_EQ(fromSpki->Id(), key->Id());
        }
        if (vector.count("k") != 0 && vector.count("d") != 0) {
            const auto again =
                Gost3410::SignE(curve, *Number(vector.at("d")), *Gost3410::DigestToE(curve, digest),
                                *Number(vector.at("k")));
            ASSERT_TRUE(again.has_value());
            EXPECT_EQ(*again, signature);
        }
    }
}

// A point of the cofactor-4 curve outside the subgroup of order q: q * P
// for a point P of the whole curve, plus the generator.
EcPointPtr PointOutsideSubgroup(const GostCurve& curve)
{
    const EC_GROUP* group = curve.Group();
    const BnCtxPtr ctx(BN_CTX_new());
    const BignumPtr x(BN_new());
    EcPointPtr point(EC_POINT_new(group));
    for (BN_ULONG word = 1; word < 1000; ++word) {
        BN_set_word(x.get(), word);
        if (EC_POINT_set_compressed_coordinates(group, point.get(), x.get(), 0, ctx.get()) != 1) {
            ERR_clear_error(); // no point with this x
            continue;
        }
        EC_POINT_mul(group, point.get(), nullptr, point.get(), curve.Order(), ctx.get());
        if (EC_POINT_is_at_infinity(group, point.get()) == 0) {
            EC_POINT_add(group, point.get(), point.get(), EC_GROUP_get0_generator(group),
                         ctx.get());
            return point;
        }
    }
    return nullptr;
}

TEST(Gost3410Test, KeyOffItsCurveOrOutsideTheSubgroupIsRefused)
{
    const GostCurve& curve = *FindGostCurve("1.2.643.7.1.2.1.1.1", 256); // cofactor 4
    std::optional<GostPublicKey> key;
    EXPECT_EQ(ParseKey(curve, std::string(128, '0'), key), kInvalidParameters);
    EXPECT_FALSE(key.has_value());

    EcPointPtr outside = PointOutsideSubgroup(curve);
    ASSERT_TRUE(outside);
    ASSERT_EQ(EC_POINT_is_on_curve(curve.Group(), outside.get(), nullptr), 1);
    const GostPublicKey encoded(curve, curve.Oid(), std::move(outside));
    Blob der = encoded.ToDer();
    std::span<const std::uint8_t> rest(der);
    EXPECT_EQ(GostPublicKey::Parse(rest, key), kInvalidParameters);

    // A SubjectPublicKeyInfo cut short.
    der.pop_back();
    rest = der;
    EXPECT_EQ(GostPublicKey::Parse(rest, key), kInvalidParameters);
}

} // namespace
} // namespace integrity_check_tool::vorn
