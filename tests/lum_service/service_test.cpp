#include "lum_service/recording_tracer.h"
#include "support/pki.h"

#include <gtest/gtest.h>
#include <lum/service/lum_service.h>
#include <optional>

namespace crypto::lum::service {
namespace {

namespace pki = integrity_check_tool::test::pki;
using pki::Hierarchy;

class FakeRootProvider final : public ILumRootProvider {
public:
    zel::Result GetTrustedRoots(std::uint32_t /*classId*/, std::vector<Bytes>& roots) override
    {
        roots = trusted;
        return zel::kOk;
    }
    zel::Result GetTestRoots(std::uint32_t /*classId*/, std::vector<Bytes>& roots,
                             TestRootHandlingPolicyFlags& flags) override
    {
        roots = test;
        flags = policy;
        return zel::kOk;
    }

    std::vector<Bytes> trusted;
    std::vector<Bytes> test;
    TestRootHandlingPolicyFlags policy = 0;
};

class FakeCrlProvider final : public ILumCrlProvider {
public:
    zel::Result GetCrlContainer(Bytes& out) override
    {
        out = container;
        return zel::kOk;
    }
    Bytes container;
};

/// Trusted roots with a database, test roots without one.
class LumServiceTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        trusted_ = Hierarchy::Make("Trusted", 0x500);
        test_ = Hierarchy::Make("Test", 0x600);
    }
    static void TearDownTestSuite()
    {
        trusted_.reset();
        test_.reset();
    }

    void SetUp() override
    {
        roots_->trusted = {trusted_->root.ToDer()};
        roots_->test = {test_->root.ToDer()};
        crl_->container = BuildContainer({{trusted_->HierarchyId(), trusted_->Crl({})}});
    }

    zel::Result Create(std::uint32_t options = 0)
    {
        const auto service = zel::MakeIntrusive<LumServiceImpl>(
            tracer_, roots_, zel::MakeIntrusive<LumRevocationCheckerFactoryImpl>(tracer_, crl_));
        verifier_.reset();
        return service->CreateVerifier(42, options, verifier_);
    }

    void ExpectTraced(std::initializer_list<std::string> texts) const
    {
        for (const std::string& text : texts) {
            EXPECT_TRUE(tracer_->Contains(text)) << text << "\n" << tracer_->All();
        }
    }

    static inline std::optional<Hierarchy> trusted_;
    static inline std::optional<Hierarchy> test_;
    zel::intrusive_ptr<test::RecordingTracer> tracer_ = zel::MakeIntrusive<test::RecordingTracer>();
    zel::intrusive_ptr<FakeRootProvider> roots_ = zel::MakeIntrusive<FakeRootProvider>();
    zel::intrusive_ptr<FakeCrlProvider> crl_ = zel::MakeIntrusive<FakeCrlProvider>();
    ILumSignatureVerifierPtr verifier_;
};

TEST_F(LumServiceTest, VerifiesWithTrustedAndOptionalTestRoots)
{
    ASSERT_EQ(Create(), zel::kOk) << tracer_->All();
    ExpectTraced(
        {"classId=42, creationOptions=CreateVerifierOptions::RevocationDatabaseIsRequired",
         "TestRootHandlingPolicyFlags: None",
         "Loaded revocation database with hierarchy=0500, issuedDate=", "1 database(s) loaded",
         "  Hierarchy Id (Root Serial)=0500, Issued=", "Created service=", "Destroyed service="});

    const auto flagsOf = [&](const Bytes& object) {
        ILumSignatureVerificationResultPtr result;
        EXPECT_EQ(verifier_->VerifyObject(object, result), lumOk);
        std::uint32_t value = 0;
        result->GetFlags(&value);
        return value;
    };
    const Bytes content = pki::ToBlob("content");
    EXPECT_EQ(flagsOf(trusted_->Sign(content)),
              flags::kSigned | flags::kTrusted | flags::kEmbedded);
    EXPECT_EQ(flagsOf(test_->Sign(content)),
              flags::kSigned | flags::kTrusted | flags::kEmbedded | flags::kRevocationCheckSkipped);
}

TEST_F(LumServiceTest, PolicyAndOptionsDecideWhichDatabasesMustExist)
{
    roots_->policy = kCrlMustExist;
    EXPECT_EQ(Create(), zel::kFail);
    ExpectTraced(
        {"TestRootHandlingPolicyFlags: CrlMustExist",
         "Required revocation database with hierarchy=0600 is absent; LumResult=lumErrRdbAbsent",
         "failed to get revocation checker ("});

    // Optional databases: nothing is required, even under the policy.
    EXPECT_EQ(
        Create(static_cast<std::uint32_t>(CreateVerifierOptions::RevocationDatabaseIsOptional)),
        zel::kOk);
    ExpectTraced({"creationOptions=CreateVerifierOptions::RevocationDatabaseIsOptional"});

    crl_->container = BuildContainer({{trusted_->HierarchyId(), trusted_->Crl({})},
                                      {test_->HierarchyId(), test_->Crl({})},
                                      {test_->HierarchyId(), test_->Crl({})}});
    EXPECT_EQ(Create(), zel::kFail);
    ExpectTraced({"More than one revocation database with hierarchy=0600"});
}

TEST_F(LumServiceTest, RefusesBadOptionsAndMissingRoots)
{
    EXPECT_EQ(Create(5), zel::kInvalidArgument);
    ExpectTraced({"creationOptions=<UNKNOWN>(5)", "invalid CreateVerifierOptions ("});

    roots_->trusted.clear();
    EXPECT_EQ(Create(), zel::kFail);
    ExpectTraced({"no trusted roots for class 42 ("});

    roots_->trusted = {pki::ToBlob("junk")};
    EXPECT_EQ(Create(), zel::kFail);
    ExpectTraced(
        {"AsndParseAndValidateCertificate() failed. Certificate size=4, CertificateBody=6A756E6B"});
}

} // namespace
} // namespace crypto::lum::service
