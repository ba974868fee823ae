#include <optional>

#include <gtest/gtest.h>
#include <lum/format.h>
#include <lum/service.h>

#include "support/pki.h"
#include "support/recording_tracer.h"

namespace crypto::lum {
namespace {

namespace pki = integrity_check_tool::test::pki;
using integrity_check_tool::test::RecordingTracer;
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

    /// Verifies against the regular root alone unless told otherwise; with
    /// a `fileName`, binds it as the file-name attribute.
    Outcome Verify(const Bytes& object, const std::vector<Bytes>& roots = {},
                   const Bytes& container = {}, const char* fileName = nullptr)
    {
        ILumSignatureVerifierPtr verifier;
        Outcome outcome;
        if (LumCreateVerifier(tracer_,
                              roots.empty() ? std::vector<Bytes>{regular_->root.ToDer()} : roots,
                              container, verifier) != zel::kOk) {
            ADD_FAILURE() << tracer_->Text();
            return outcome;
        }
        ILumSignatureVerificationResultPtr result;
        outcome.result =
            fileName ? verifier->VerifyObjectWithAdditionalContent(object, FileNameAttributeOid(),
                                                                   *FileNameToBmp(fileName), result)
                     : verifier->VerifyObject(object, result);
        std::uint64_t size = 0;
        EXPECT_TRUE(result && result->GetFlags(&outcome.flags) == lumOk);
        if (result && result->GetCheckedContentSize(&size) == lumOk) {
            outcome.contentSize = size;
        }
        return outcome;
    }

    static inline std::optional<Hierarchy> regular_;
    static inline std::optional<Hierarchy> other_;
    const Bytes content_ = pki::ToBlob("<manifest>\n  <file path=\"a\"/>\n</manifest>\n");
    zel::intrusive_ptr<RecordingTracer> tracer_ = zel::MakeIntrusive<RecordingTracer>();
};

TEST_F(LumVerifierTest, AcceptsGoodSignaturesAndChecksRevocationPerHierarchy)
{
    const Outcome outcome = Verify(regular_->Sign(content_));
    EXPECT_EQ(outcome.result, lumOk);
    EXPECT_EQ(outcome.flags,
              flags::kSigned | flags::kTrusted | flags::kEmbedded | flags::kRevocationCheckSkipped)
        << VerificationFlagsToString(outcome.flags);
    EXPECT_EQ(outcome.contentSize, content_.size());
    EXPECT_EQ(Verify(regular_->Sign({})).contentSize, 0u);

    // Other digests, and an RSA key.
    EXPECT_EQ(Verify(regular_->Sign(content_, {.digest = "SHA384"})).result, lumOk);
    const pki::Key rsa = pki::Key::Generate(pki::Key::Type::Rsa2048);
    const Bytes object =
        pki::SignLum(content_, regular_->IssueLeaf(pki::LeafOptions("RSA", 150), rsa), rsa,
                     {regular_->intermediate}, {.digest = "SHA512"});
    EXPECT_EQ(Verify(object).result, lumOk) << tracer_->Text();

    // With databases the check is made; the leaf's serial (root, intermediate
    // and leaf are numbered in a row) revokes only in its own hierarchy.
    const std::vector<Bytes> roots{regular_->root.ToDer(), other_->root.ToDer()};
    const auto revoking = [&](std::uint64_t regular, std::uint64_t other) {
        return BuildContainer({{regular_->HierarchyId(), regular_->Crl({regular})},
                               {other_->HierarchyId(), other_->Crl({other})}});
    };
    const Outcome elsewhere = Verify(regular_->Sign(content_), roots, revoking(999, 102));
    EXPECT_EQ(elsewhere.result, lumOk);
    EXPECT_EQ(elsewhere.flags, flags::kSigned | flags::kTrusted | flags::kEmbedded)
        << VerificationFlagsToString(elsewhere.flags);
    const Outcome revoked = Verify(regular_->Sign(content_), roots, revoking(102, 999));
    EXPECT_EQ(revoked.result, lumErrUntrusted);
    EXPECT_TRUE(revoked.Has(flags::kSigned | flags::kRevoked));
}

// Each fault with its result and the flags that name it; none is trusted.
// Broken trailers, expiry, a missing code-signing purpose and renamed files
// are covered end to end.
TEST_F(LumVerifierTest, ReportsEachFaultWithItsResultAndFlags)
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

    // The DER must end exactly at the trailer.
    const Bytes der =
        pki::SignCms(content_, regular_->leaf, regular_->leafKey, {regular_->intermediate});
    Bytes padded = content_;
    padded.insert(padded.end(), der.begin(), der.end());
    padded.push_back(0);
    const auto paddedTrailer = MakeTrailer(static_cast<std::uint32_t>(der.size() + 1));
    padded.insert(padded.end(), paddedTrailer.begin(), paddedTrailer.end());

    const pki::SignOptions named{.fileNameAttribute = *FileNameToBmp("manifest.xml")};
    const std::uint32_t malformed = flags::kMalformedContent;
    const std::uint32_t notMatched = flags::kSigned | flags::kSignatureValueNotMatched;

    const struct {
        const char* name;
        Bytes object;
        const char* fileName;
        std::int32_t result;
        std::uint32_t flags;
    } cases[] = {
        {"no signature", content_, nullptr, lumSignatureNotFound, malformed},
        {"byte after the DER", padded, nullptr, lumErrInvalidFormat, malformed},
        {"embedded content", regular_->Sign(content_, {.detached = false}), nullptr,
         lumErrInvalidFormat, malformed},
        {"SHA-1", regular_->Sign(content_, {.digest = "SHA1"}), nullptr, lumErrInvalidFormat,
         malformed},
        {"intermediate not a CA", pki::SignLum(content_, belowNotCa, key, {notCaCertificate}),
         nullptr, lumErrUntrusted, flags::kSigned | flags::kInvalidBasicContraints},
        {"no extended key usage", leafWith([](auto& o) { o.extendedKeyUsage.clear(); }), nullptr,
         lumErrUntrusted, flags::kSigned | flags::kInvalidPurpose},
        {"no digitalSignature", leafWith([](auto& o) { o.keyUsage = "critical,keyEncipherment"; }),
         nullptr, lumErrUntrusted, flags::kSigned | flags::kInvalidUsage},
        {"unknown critical extension", leafWith([](auto& o) {
             o.extraExtensions.push_back({"1.3.6.1.4.1.32473.99", "critical,DER:05:00"});
         }),
         nullptr, lumErrUntrusted, flags::kSigned | flags::kUnconsumedCriticalExtension},
        {"intermediate missing", pki::SignLum(content_, regular_->leaf, regular_->leafKey, {}),
         nullptr, lumErrUntrusted, flags::kSigned | flags::kIncompleteChain},
        {"file name differs", regular_->Sign(content_, named), "manifest.xm", lumErrNotMatched,
         notMatched},
        {"file name under another OID",
         regular_->Sign(content_, {.fileNameAttribute = *FileNameToBmp("manifest.xml"),
                                   .fileNameOid = "1.3.6.1.4.1.32473.1800.1.1.2"}),
         "manifest.xml", lumErrNotMatched, notMatched},
    };
    for (const auto& fault : cases) {
        SCOPED_TRACE(fault.name);
        const Outcome outcome = Verify(fault.object, {}, {}, fault.fileName);
        EXPECT_EQ(outcome.result, fault.result);
        EXPECT_TRUE(outcome.Has(fault.flags)) << VerificationFlagsToString(outcome.flags);
        EXPECT_FALSE(outcome.Has(flags::kTrusted));
    }
    EXPECT_EQ(Verify(regular_->Sign(content_, named), {}, {}, "manifest.xml").result, lumOk);
}

}  // namespace
}  // namespace crypto::lum
