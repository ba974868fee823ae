#include "lum_service/recording_tracer.h"
#include "support/pki.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <lum/format.h>
#include <lum/service.h>
#include <openssl/sha.h>
#include <openssl/x509.h>
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
        regular_ = new Hierarchy(Hierarchy::Make("Regular", 100));
        other_ = new Hierarchy(Hierarchy::Make("Other", 200));
    }
    static void TearDownTestSuite()
    {
        delete regular_;
        delete other_;
    }

    static const Hierarchy& Regular() { return *regular_; }
    static const Hierarchy& Other() { return *other_; }

    ILumSignatureVerifierPtr MakeVerifier(const std::vector<Bytes>& roots,
                                          const Bytes& container = {})
    {
        ILumSignatureVerifierPtr verifier;
        const zel::Result created = LumCreateVerifier(tracer_, roots, container, verifier);
        EXPECT_EQ(created, zel::kOk) << tracer_->All();
        return verifier;
    }

    /// Verifies against the regular root alone unless told otherwise.
    Outcome Verify(const Bytes& object, const std::vector<Bytes>& roots = {},
                   const Bytes& container = {})
    {
        const ILumSignatureVerifierPtr verifier =
            MakeVerifier(roots.empty() ? RegularRoots() : roots, container);
        ILumSignatureVerificationResultPtr result;
        Outcome outcome;
        outcome.result = verifier->VerifyObject(object, result);
        return Read(outcome, result);
    }

    Outcome VerifyWithName(const Bytes& object, const std::string& name)
    {
        const ILumSignatureVerifierPtr verifier = MakeVerifier(RegularRoots());
        ILumSignatureVerificationResultPtr result;
        Outcome outcome;
        outcome.result = verifier->VerifyObjectWithAdditionalContent(object, FileNameAttributeOid(),
                                                                     FileNameToBmp(name), result);
        return Read(outcome, result);
    }

    static Outcome Read(Outcome outcome, const ILumSignatureVerificationResultPtr& result)
    {
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

    static std::vector<Bytes> RegularRoots() { return {Regular().root.ToDer()}; }

    static void ExpectMalformed(const Outcome& outcome, const std::string& what)
    {
        EXPECT_NE(outcome.result, lumOk) << what;
        EXPECT_TRUE(outcome.Has(flags::kMalformedContent))
            << what << ": " << VerificationFlagsToString(outcome.flags);
        EXPECT_FALSE(outcome.Has(flags::kTrusted)) << what;
    }

    const Bytes content_ = pki::ToBlob("<manifest>\n  <file path=\"a\"/>\n</manifest>\n");
    zel::intrusive_ptr<test::RecordingTracer> tracer_ = zel::MakeIntrusive<test::RecordingTracer>();

private:
    static inline Hierarchy* regular_ = nullptr;
    static inline Hierarchy* other_ = nullptr;
};

TEST_F(LumVerifierTest, AcceptsAGoodSignatureAndReportsTheContentSize)
{
    const Outcome outcome = Verify(Regular().Sign(content_));
    EXPECT_EQ(outcome.result, lumOk);
    EXPECT_EQ(outcome.flags,
              flags::kSigned | flags::kTrusted | flags::kEmbedded | flags::kRevocationCheckSkipped)
        << VerificationFlagsToString(outcome.flags);
    EXPECT_EQ(outcome.contentSize, content_.size());

    // With a database for the root the revocation check is no longer skipped.
    const Bytes container = BuildContainer({{Regular().HierarchyId(), Regular().Crl({999})}});
    const Outcome checked = Verify(Regular().Sign(content_), RegularRoots(), container);
    EXPECT_EQ(checked.result, lumOk);
    EXPECT_EQ(checked.flags, flags::kSigned | flags::kTrusted | flags::kEmbedded);
}

TEST_F(LumVerifierTest, AcceptsOtherDigestsAndKeyTypesAndEmptyContent)
{
    struct Case {
        pki::Key::Type keyType;
        std::string digest;
    };
    for (const Case& each :
         {Case{pki::Key::Type::P384, "SHA384"}, Case{pki::Key::Type::Rsa2048, "SHA512"},
          Case{pki::Key::Type::P256, "SHA512"}}) {
        const pki::Key key = pki::Key::Generate(each.keyType);
        const pki::Certificate leaf = Regular().IssueLeaf(pki::LeafOptions("Signer", 150), key);
        pki::SignOptions options;
        options.digest = each.digest;
        EXPECT_EQ(
            Verify(pki::SignLum(content_, leaf, key, {Regular().intermediate}, options)).result,
            lumOk)
            << each.digest << " " << static_cast<int>(each.keyType) << "\n"
            << tracer_->All();
    }
    const Outcome empty = Verify(Regular().Sign({}));
    EXPECT_EQ(empty.result, lumOk);
    EXPECT_EQ(empty.contentSize, 0u);
}

TEST_F(LumVerifierTest, RefusesObjectsWithoutAWellFormedSignature)
{
    const Bytes signedFile = Regular().Sign(content_);

    const Outcome plain = Verify(content_);
    ExpectMalformed(plain, "no signature");
    EXPECT_EQ(plain.result, lumSignatureNotFound);
    EXPECT_FALSE(plain.contentSize);
    ExpectMalformed(Verify({}), "empty object");

    for (const std::size_t cut : {std::size_t{1}, std::size_t{5}, kTrailerSize,
                                  signedFile.size() - content_.size(), signedFile.size() - 1}) {
        ExpectMalformed(
            Verify(Bytes(signedFile.begin(), signedFile.end() - static_cast<std::ptrdiff_t>(cut))),
            "cut " + std::to_string(cut));
    }
    Bytes appended = signedFile;
    appended.push_back(0);
    ExpectMalformed(Verify(appended), "garbage appended");

    // Lengths pointing past the start, at nothing, or into the content.
    for (const std::uint32_t length :
         {0xFFFFFFFFu, static_cast<std::uint32_t>(signedFile.size()), 0u,
          static_cast<std::uint32_t>(signedFile.size() - kTrailerSize - 1)}) {
        Bytes changed = signedFile;
        const auto trailer = MakeTrailer(length);
        std::copy(trailer.begin(), trailer.end(),
                  changed.end() - static_cast<std::ptrdiff_t>(kTrailerSize));
        const Outcome outcome = Verify(changed);
        ExpectMalformed(outcome, "length " + std::to_string(length));
    }
    const auto trailer = MakeTrailer(4);
    const Bytes onlyTrailer(trailer.begin(), trailer.end());
    EXPECT_EQ(Verify(onlyTrailer).result, lumErrInvalidFormat);
}

TEST_F(LumVerifierTest, RefusesSignaturesOtherThanDetachedSignedDataWithAStrongDigest)
{
    // The DER must end exactly at the trailer.
    const Bytes der =
        pki::SignCms(content_, Regular().leaf, Regular().leafKey, {Regular().intermediate});
    Bytes padded = content_;
    padded.insert(padded.end(), der.begin(), der.end());
    padded.push_back(0);
    const auto trailer = MakeTrailer(static_cast<std::uint32_t>(der.size() + 1));
    padded.insert(padded.end(), trailer.begin(), trailer.end());
    ExpectMalformed(Verify(padded), "byte after the DER");

    pki::SignOptions attached;
    attached.detached = false;
    ExpectMalformed(Verify(Regular().Sign(content_, attached)), "embedded content");

    pki::SignOptions sha1;
    sha1.digest = "SHA1";
    ExpectMalformed(Verify(Regular().Sign(content_, sha1)), "SHA-1");
}

TEST_F(LumVerifierTest, ReportsChainFailuresAsFlags)
{
    const pki::Key key = pki::Key::Generate();
    const auto leafWith = [&](auto change) {
        pki::CertificateOptions options = pki::LeafOptions("Signer", 160);
        change(options);
        return pki::SignLum(content_, Regular().IssueLeaf(options, key), key,
                            {Regular().intermediate});
    };
    // An intermediate without CA:TRUE.
    pki::CertificateOptions notCa = pki::LeafOptions("Not a CA", 170);
    notCa.keyUsage = "critical,keyCertSign,digitalSignature";
    const pki::Key notCaKey = pki::Key::Generate();
    const pki::Certificate notCaCertificate =
        pki::IssueCertificate(notCa, notCaKey, &Regular().root, Regular().rootKey);
    const pki::Certificate belowNotCa =
        pki::IssueCertificate(pki::LeafOptions("Signer", 171), key, &notCaCertificate, notCaKey);

    struct Case {
        std::string name;
        Bytes object;
        std::uint32_t expected;
    };
    const std::vector<Case> cases{
        {"intermediate not a CA", pki::SignLum(content_, belowNotCa, key, {notCaCertificate}),
         flags::kInvalidBasicContraints},
        {"expired", leafWith([](auto& o) {
             o.notBeforeDays = -20;
             o.notAfterDays = -10;
         }),
         flags::kExpired},
        {"not yet valid", leafWith([](auto& o) { o.notBeforeDays = 10; }), flags::kExpired},
        {"no code signing", leafWith([](auto& o) { o.extendedKeyUsage = "serverAuth"; }),
         flags::kInvalidPurpose},
        {"no extended key usage", leafWith([](auto& o) { o.extendedKeyUsage.clear(); }),
         flags::kInvalidPurpose},
        {"no digitalSignature", leafWith([](auto& o) { o.keyUsage = "critical,keyEncipherment"; }),
         flags::kInvalidUsage},
        {"unknown critical extension", leafWith([](auto& o) {
             o.extraExtensions.push_back({"1.3.6.1.4.1.32473.99", "critical,DER:05:00"});
         }),
         flags::kUnconsumedCriticalExtension},
        {"intermediate missing", pki::SignLum(content_, Regular().leaf, Regular().leafKey, {}),
         flags::kIncompleteChain},
        {"other root set", Other().Sign(content_), flags::kIncompleteChain},
    };
    for (const Case& each : cases) {
        const Outcome outcome = Verify(each.object);
        EXPECT_EQ(outcome.result, lumErrUntrusted) << each.name;
        EXPECT_TRUE(outcome.Has(flags::kSigned | each.expected))
            << each.name << ": " << VerificationFlagsToString(outcome.flags);
        EXPECT_FALSE(outcome.Has(flags::kTrusted)) << each.name;
    }
}

TEST_F(LumVerifierTest, FindsRevokedCertificatesInTheirHierarchyOnly)
{
    const std::vector<Bytes> roots{Regular().root.ToDer(), Other().root.ToDer()};
    const auto containerRevoking = [&](const std::vector<std::uint64_t>& regular,
                                       const std::vector<std::uint64_t>& other) {
        return BuildContainer({{Regular().HierarchyId(), Regular().Crl(regular)},
                               {Other().HierarchyId(), Other().Crl(other)}});
    };
    // Hierarchy::Make numbers root, intermediate and leaf in a row.
    const std::uint64_t intermediateSerial = 101;
    const std::uint64_t leafSerial = 102;

    const Outcome leaf =
        Verify(Regular().Sign(content_), roots, containerRevoking({leafSerial}, {999}));
    EXPECT_EQ(leaf.result, lumErrUntrusted);
    EXPECT_TRUE(leaf.Has(flags::kSigned | flags::kRevoked))
        << VerificationFlagsToString(leaf.flags);

    const Outcome intermediate =
        Verify(Regular().Sign(content_), roots, containerRevoking({intermediateSerial}, {999}));
    EXPECT_TRUE(intermediate.Has(flags::kRevoked)) << VerificationFlagsToString(intermediate.flags);

    // The same serial in another hierarchy's database revokes nothing here.
    const Outcome elsewhere = Verify(Regular().Sign(content_), roots,
                                     containerRevoking({999}, {leafSerial, intermediateSerial}));
    EXPECT_EQ(elsewhere.result, lumOk) << VerificationFlagsToString(elsewhere.flags);
    EXPECT_FALSE(elsewhere.Has(flags::kRevocationCheckSkipped));
}

TEST_F(LumVerifierTest, BindsTheFileNameAttribute)
{
    pki::SignOptions named;
    named.fileNameAttribute = FileNameToBmp("manifest.xml");
    const Bytes signedFile = Regular().Sign(content_, named);

    const Outcome match = VerifyWithName(signedFile, "manifest.xml");
    EXPECT_EQ(match.result, lumOk);
    EXPECT_TRUE(match.Has(flags::kTrusted));
    EXPECT_EQ(Verify(signedFile).result, lumOk)
        << "an extra signed attribute is fine for plain lum";

    const Outcome renamed = VerifyWithName(signedFile, "manifest.xm");
    EXPECT_EQ(renamed.result, lumErrNotMatched);
    EXPECT_TRUE(renamed.Has(flags::kSigned | flags::kSignatureValueNotMatched));
    EXPECT_FALSE(renamed.Has(flags::kTrusted));

    const Outcome missing = VerifyWithName(Regular().Sign(content_), "manifest.xml");
    EXPECT_EQ(missing.result, lumErrNotMatched);
    EXPECT_TRUE(missing.Has(flags::kSignatureValueNotMatched));

    pki::SignOptions otherOid = named;
    otherOid.fileNameOid = "1.3.6.1.4.1.32473.1800.1.1.2";
    EXPECT_EQ(VerifyWithName(Regular().Sign(content_, otherOid), "manifest.xml").result,
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

    const Bytes onlyOther = BuildContainer({{Other().HierarchyId(), Other().Crl({})}});
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
