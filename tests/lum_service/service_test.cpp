#include <optional>

#include <gtest/gtest.h>
#include <lum/service/lum_service.h>

#include "support/pki.h"
#include "support/recording_tracer.h"

namespace crypto::lum::service {
namespace {

namespace pki = integrity_check_tool::test::pki;
using integrity_check_tool::test::RecordingTracer;
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

/// Trusted roots with a database, test roots without one unless told.
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

    zel::Result Create(std::uint32_t options = 0)
    {
        const auto service = zel::MakeIntrusive<LumServiceImpl>(
            tracer_, roots_, zel::MakeIntrusive<LumRevocationCheckerFactoryImpl>(tracer_, crl_));
        verifier_.reset();
        return service->CreateVerifier(42, options, verifier_);
    }

    static inline std::optional<Hierarchy> trusted_;
    static inline std::optional<Hierarchy> test_;
    zel::intrusive_ptr<RecordingTracer> tracer_ = zel::MakeIntrusive<RecordingTracer>();
    zel::intrusive_ptr<FakeRootProvider> roots_ = zel::MakeIntrusive<FakeRootProvider>();
    zel::intrusive_ptr<FakeCrlProvider> crl_ = zel::MakeIntrusive<FakeCrlProvider>();
    ILumSignatureVerifierPtr verifier_;
};

TEST_F(LumServiceTest, TestRootsNeedNoDatabaseUnlessThePolicySaysSo)
{
    const RevocationDatabase trusted{trusted_->HierarchyId(), trusted_->Crl({})};
    const RevocationDatabase test{test_->HierarchyId(), test_->Crl({})};
    const Bytes root = trusted_->root.ToDer();
    const auto optional =
        static_cast<std::uint32_t>(CreateVerifierOptions::RevocationDatabaseIsOptional);
    const struct {
        const char* name;
        Bytes trustedRoot;  ///< none when empty
        TestRootHandlingPolicyFlags policy;
        std::uint32_t options;
        std::vector<RevocationDatabase> databases;
        zel::Result result;
    } cases[] = {
        {"policy requires it", root, kCrlMustExist, 0, {trusted}, zel::kFail},
        {"policy met", root, kCrlMustExist, 0, {trusted, test}, zel::kOk},
        {"databases optional", root, kCrlMustExist, optional, {trusted}, zel::kOk},
        {"two databases for a root", root, 0, 0, {trusted, test, test}, zel::kFail},
        {"unknown options", root, 0, 5, {trusted}, zel::kInvalidArgument},
        {"no trusted roots", {}, 0, 0, {trusted}, zel::kFail},
        {"trusted root that does not parse", pki::ToBlob("junk"), 0, 0, {trusted}, zel::kFail},
        {"test root without database", root, 0, 0, {trusted}, zel::kOk},
    };
    for (const auto& setting : cases) {
        SCOPED_TRACE(setting.name);
        roots_->trusted = setting.trustedRoot.empty() ? std::vector<Bytes>{}
                                                      : std::vector<Bytes>{setting.trustedRoot};
        roots_->test = {test_->root.ToDer()};
        roots_->policy = setting.policy;
        crl_->container = BuildContainer(setting.databases);
        tracer_->records.clear();
        EXPECT_EQ(Create(setting.options), setting.result) << tracer_->Text();
        EXPECT_EQ(verifier_ != nullptr, setting.result == zel::kOk);
    }

    // Signatures under a test root without a database (the last case) skip
    // the revocation check.
    ASSERT_TRUE(verifier_);
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

}  // namespace
}  // namespace crypto::lum::service
