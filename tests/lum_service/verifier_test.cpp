#include "lum_service/recording_tracer.h"
#include "support/pki.h"

#include <gtest/gtest.h>
#include <lum/format.h>
#include <lum/service.h>
#include <optional>

namespace crypto::lum {
namespace {

namespace pki = integrity_check_tool::test::pki;
using pki::Hierarchy;

struct Outcome {
    std::int32_t result = lumErrUnknown;
    std::uint32_t flags = 0;
    std::optional<std::uint64_t> contentSize;

    bool Has(std::uint32_t bits) const { return (flags & bits) == bits; }
};

class LumVerifierTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        regular_ = Hierarchy::Make("Regular", 100);
        other_ = Hierarchy::Make("Other", 200);
    }
    static void TearDownTestSuite()
    {
        regular_.reset();
        other_.reset();
    }

    ILumSignatureVerifierPtr MakeVerifier(const std::vector<Bytes>& roots,
                                          const Bytes& container = {})
    {
        ILumSignatureVerifierPtr verifier;
        EXPECT_EQ(LumCreateVerifier(tracer_, roots, container, verifier), zel::kOk)
            << tracer_->All();
        return verifier;
    }

    /// Verifies against the regular root alone unless told otherwise; with
    /// a `name`, binds it as the file-name attribute.
    Outcome Verify(const Bytes& object, const std::vector<Bytes>& roots = {},
                   const Bytes& container = {}, const std::optional<std::string>& name = {})
    {
        const ILumSignatureVerifierPtr verifier =
            MakeVerifier(roots.empty() ? RegularRoots() : roots, container);
        ILumSignatureVerificationResultPtr result;
        Outcome outcome;
        outcome.result = name ? verifier->VerifyObjectWithAdditionalContent(
                                    object, FileNameAttributeOid(), FileNameToBmp(*name), result)
                              : verifier->VerifyObject(object, result);
        if (!result) {
            ADD_FAILURE() << "no result";
            return outcome;
        }
        EXPECT_EQ(result->GetFlags(&outcome.flags), lumOk);
        std::uint64_t size = 0;
        if (result->GetCheckedContentSize(&size) == lumOk) {
            outcome.contentSize = size;
        }
        return outcome;
    }

    static std::vector<Bytes> RegularRoots() { return {regular_->root.ToDer()}; }

    static void ExpectMalformed(const Outcome& outcome, const std::string& what)
    {
        EXPECT_NE(outcome.result, lumOk) << what;
        EXPECT_TRUE(outcome.Has(flags::kMalformedContent))
            << what << ": " << VerificationFlagsToString(outcome.flags);
        EXPECT_FALSE(outcome.Has(flags::kTrusted)) << what;
    }

    static inline std::optional<Hierarchy> regular_;
    static inline std::optional<Hierarchy> other_;
    const Bytes content_ = pki::ToBlob("<manifest>\n  <file path=\"a\"/>\n</manifest>\n");
    zel::intrusive_ptr<test::RecordingTracer> tracer_ = zel::MakeIntrusive<test::RecordingTracer>();
};

TEST_F(LumVerifierTest, AcceptsGoodSignaturesAndReportsTheContentSize)
{
    const Outcome outcome = Verify(regular_->Sign(content_));
    EXPECT_EQ(outcome.result, lumOk);
    EXPECT_EQ(outcome.flags,
              flags::kSigned | flags::kTrusted | flags::kEmbedded | flags::kRevocationCheckSkipped)
        << VerificationFlagsToString(outcome.flags);
    EXPECT_EQ(outcome.contentSize, content_.size());
    EXPECT_EQ(Verify(regular_->Sign({})).contentSize, 0u);

    // With a database for the root the revocation check is no longer skipped.
    const Bytes container = BuildContainer({{regular_->HierarchyId(), regular_->Crl({999})}});
    const Outcome checked = Verify(regular_->Sign(content_), RegularRoots(), container);
    EXPECT_EQ(checked.result, lumOk);
    EXPECT_EQ(checked.flags, flags::kSigned | flags::kTrusted | flags::kEmbedded);

    // Other key types and digests than the demo hierarchy's.
    for (const auto& [type, digest] : {std::pair{pki::Key::Type::P384, "SHA384"},
                                       {pki::Key::Type::Rsa2048, "SHA512"},
                                       {pki::Key::Type::P256, "SHA512"}}) {
        const pki::Key key = pki::Key::Generate(type);
        pki::SignOptions options;
        options.digest = digest;
        const Bytes object =
            pki::SignLum(content_, regular_->IssueLeaf(pki::LeafOptions("Signer", 150), key), key,
                         {regular_->intermediate}, options);
        EXPECT_EQ(Verify(object).result, lumOk) << digest << "\n" << tracer_->All();
    }
}

// The end-to-end tests cover the shapes of a broken trailer; here the
// result codes and the CMS forms a signature must not take.
TEST_F(LumVerifierTest, RefusesObjectsWithoutAWellFormedSignature)
{
    const Outcome plain = Verify(content_);
    ExpectMalformed(plain, "no signature");
    EXPECT_EQ(plain.result, lumSignatureNotFound);
    EXPECT_FALSE(plain.contentSize);
    const auto trailer = MakeTrailer(4);
    EXPECT_EQ(Verify(Bytes(trailer.begin(), trailer.end())).result, lumErrInvalidFormat);

    const Bytes signedFile = regular_->Sign(content_);
    for (const std::uint32_t length :
         {0u, static_cast<std::uint32_t>(signedFile.size() - kTrailerSize - 1)}) {
        Bytes changed = signedFile;
        const auto other = MakeTrailer(length);
        std::copy(other.begin(), other.end(),
                  changed.end() - static_cast<std::ptrdiff_t>(kTrailerSize));
        ExpectMalformed(Verify(changed), "length " + std::to_string(length));
    }

    // The DER must end exactly at the trailer.
    const Bytes der =
        pki::SignCms(content_, regular_->leaf, regular_->leafKey, {regular_->intermediate});
    Bytes padded = content_;
    padded.insert(padded.end(), der.begin(), der.end());
    padded.push_back(0);
    const auto paddedTrailer = MakeTrailer(static_cast<std::uint32_t>(der.size() + 1));
    padded.insert(padded.end(), paddedTrailer.begin(), paddedTrailer.end());
    ExpectMalformed(Verify(padded), "byte after the DER");

    pki::SignOptions attached;
    attached.detached = false;
    ExpectMalformed(Verify(regular_->Sign(content_, attached)), "embedded content");
    pki::SignOptions sha1;
    sha1.digest = "SHA1";
    ExpectMalformed(Verify(regular_->Sign(content_, sha1)), "SHA-1");
}

// Expiry and a missing code-signing purpose are covered end to end.
TEST_F(LumVerifierTest, ReportsChainFailuresAsFlags)
{
    const pki::Key key = pki::Key::Generate();
    const auto leafWith = [&](auto change) {
        pki::CertificateOptions options = pki::LeafOptions("Signer", 160);
        change(options);
        return pki::SignLum(content_, regular_->IssueLeaf(options, key), key,
                            {regular_->intermediate});
    };
    pki::CertificateOptions notCa = pki::LeafOptions("Not a CA", 170);
    notCa.keyUsage = "critical,keyCertSign,digitalSignature";
    const pki::Key notCaKey = pki::Key::Generate();
    const pki::Certificate notCaCertificate =
        pki::IssueCertificate(notCa, notCaKey, &regular_->root, regular_->rootKey);
    const pki::Certificate belowNotCa =
        pki::IssueCertificate(pki::LeafOptions("Signer", 171), key, &notCaCertificate, notCaKey);

    const struct {
        std::string name;
        Bytes object;
        std::uint32_t expected;
    } cases[] = {
        {"intermediate not a CA", pki::SignLum(content_, belowNotCa, key, {notCaCertificate}),
         flags::kInvalidBasicContraints},
        {"no extended key usage", leafWith([](auto& o) { o.extendedKeyUsage.clear(); }),
         flags::kInvalidPurpose},
        {"no digitalSignature", leafWith([](auto& o) { o.keyUsage = "critical,keyEncipherment"; }),
         flags::kInvalidUsage},
        {"unknown critical extension", leafWith([](auto& o) {
             o.extraExtensions.push_back({"1.3.6.1.4.1.32473.99", "critical,DER:05:00"});
         }),
         flags::kUnconsumedCriticalExtension},
        {"intermediate missing", pki::SignLum(content_, regular_->leaf, regular_->leafKey, {}),
         flags::kIncompleteChain},
        {"other root set", other_->Sign(content_), flags::kIncompleteChain},
    };
    for (const auto& each : cases) {
        const Outcome outcome = Verify(each.object);
        EXPECT_EQ(outcome.result, lumErrUntrusted) << each.name;
        EXPECT_TRUE(outcome.Has(flags::kSigned | each.expected))
            << each.name << ": " << VerificationFlagsToString(outcome.flags);
        EXPECT_FALSE(outcome.Has(flags::kTrusted)) << each.name;
    }
}

TEST_F(LumVerifierTest, FindsRevokedCertificatesInTheirHierarchyOnly)
{
    const std::vector<Bytes> roots{regular_->root.ToDer(), other_->root.ToDer()};
    const auto revoking = [&](const std::vector<std::uint64_t>& regular,
                              const std::vector<std::uint64_t>& other) {
        return BuildContainer({{regular_->HierarchyId(), regular_->Crl(regular)},
                               {other_->HierarchyId(), other_->Crl(other)}});
    };
    // Hierarchy::Make numbers root, intermediate and leaf in a row.
    const std::uint64_t intermediate = 101;
    const std::uint64_t leaf = 102;
    const Outcome revoked = Verify(regular_->Sign(content_), roots, revoking({leaf}, {999}));
    EXPECT_EQ(revoked.result, lumErrUntrusted);
    EXPECT_TRUE(revoked.Has(flags::kSigned | flags::kRevoked))
        << VerificationFlagsToString(revoked.flags);

    // The same serials in another hierarchy's database revoke nothing here.
    const Outcome elsewhere =
        Verify(regular_->Sign(content_), roots, revoking({999}, {leaf, intermediate}));
    EXPECT_EQ(elsewhere.result, lumOk) << VerificationFlagsToString(elsewhere.flags);
    EXPECT_FALSE(elsewhere.Has(flags::kRevocationCheckSkipped));
}

// Renamed files and signatures without a name are covered end to end.
TEST_F(LumVerifierTest, BindsTheFileNameAttribute)
{
    pki::SignOptions named;
    named.fileNameAttribute = FileNameToBmp("manifest.xml");
    const Bytes signedFile = regular_->Sign(content_, named);
    const Outcome match = Verify(signedFile, {}, {}, "manifest.xml");
    EXPECT_EQ(match.result, lumOk);
    EXPECT_TRUE(match.Has(flags::kTrusted));

    const Outcome renamed = Verify(signedFile, {}, {}, "manifest.xm");
    EXPECT_EQ(renamed.result, lumErrNotMatched);
    EXPECT_TRUE(renamed.Has(flags::kSigned | flags::kSignatureValueNotMatched));
    EXPECT_FALSE(renamed.Has(flags::kTrusted));

    pki::SignOptions otherOid = named;
    otherOid.fileNameOid = "1.3.6.1.4.1.32473.1800.1.1.2";
    EXPECT_EQ(Verify(regular_->Sign(content_, otherOid), {}, {}, "manifest.xml").result,
              lumErrNotMatched);

    ILumSignatureVerificationResultPtr result;
    EXPECT_EQ(MakeVerifier(RegularRoots())
                  ->VerifyObjectWithAdditionalContent(signedFile, "not an oid", {}, result),
              lumErrInvalidArgument);
}

TEST_F(LumVerifierTest, CreationTracesWhyItFails)
{
    ILumSignatureVerifierPtr verifier;
    EXPECT_EQ(LumCreateVerifier(nullptr, RegularRoots(), {}, verifier), zel::kInvalidArgument);
    EXPECT_EQ(LumCreateVerifier(tracer_, {}, {}, verifier), lumErrInvalidArgument);
    EXPECT_FALSE(verifier);

    EXPECT_EQ(LumCreateVerifier(tracer_, RegularRoots(), {}, verifier), zel::kOk);
    EXPECT_TRUE(tracer_->Contains("CRL is not provided."));

    const Bytes onlyOther = BuildContainer({{other_->HierarchyId(), other_->Crl({})}});
    verifier.reset();
    EXPECT_EQ(LumCreateVerifier(tracer_, RegularRoots(), onlyOther, verifier), zel::kFail);
    EXPECT_FALSE(verifier);
    EXPECT_TRUE(tracer_->Contains(
        "300 Required revocation database is absent. Index=0, Data=64; LumResult=lumErrRdbAbsent"))
        << tracer_->All();
    EXPECT_TRUE(
        tracer_->Contains("300 LumCreateRevocationChecker() failed; LumResult=lumErrRdbAbsent"));

    EXPECT_EQ(LumCreateVerifier(tracer_, {pki::ToBlob("not a certificate")}, {}, verifier),
              zel::kFail);
    EXPECT_TRUE(
        tracer_->Contains("LumCreateRevocationChecker() failed; LumResult=lumErrInvalidFormat"));
}

} // namespace
} // namespace crypto::lum
