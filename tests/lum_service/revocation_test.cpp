#include "support/pki.h"

#include <gtest/gtest.h>
#include <lum/revocation.h>
#include <lum/service.h>

namespace crypto::lum {
namespace {

namespace pki = integrity_check_tool::test::pki;
using pki::Hierarchy;

struct Report {
    std::string message;
    Bytes data;
    std::uint32_t index = 0;
    std::int32_t result = 0;
};

class RevocationCheckerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        a_ = new Hierarchy(Hierarchy::Make("A", 0x1001));
        b_ = new Hierarchy(Hierarchy::Make("B", 0x2001));
        c_ = new Hierarchy(Hierarchy::Make("C", 0x3001));
    }
    static void TearDownTestSuite()
    {
        delete a_;
        delete b_;
        delete c_;
    }
    void SetUp() override { ASSERT_EQ(LumInitializeLibrary(), lumOk); }
    void TearDown() override { LumReleaseLibrary(); }

    static const Hierarchy& A() { return *a_; }
    static const Hierarchy& B() { return *b_; }
    static const Hierarchy& C() { return *c_; }
    static RevocationDatabase Database(const Hierarchy& hierarchy,
                                       std::vector<std::uint64_t> serials = {})
    {
        return {hierarchy.HierarchyId(), hierarchy.Crl(serials)};
    }

    /// Required roots A and B, optional root C.
    std::int32_t Create(const Bytes& container)
    {
        const Bytes a = A().root.ToDer();
        const Bytes b = B().root.ToDer();
        const Bytes c = C().root.ToDer();
        const std::vector<ByteSpan> required{a, b};
        const std::vector<ByteSpan> optional{c};
        reports_.clear();
        checker_.reset();
        return LumCreateRevocationChecker(
            required, optional, 0, container,
            [this](const char* message, const std::uint8_t* data, std::size_t size,
                   std::uint32_t index, std::int32_t result) {
                reports_.push_back({message, Bytes(data, data + size), index, result});
            },
            checker_);
    }

    void ExpectOneReport(const std::string& message, std::int32_t result, std::uint32_t index)
    {
        ASSERT_EQ(reports_.size(), 1u);
        EXPECT_EQ(reports_[0].message, message);
        EXPECT_EQ(reports_[0].result, result);
        EXPECT_EQ(reports_[0].index, index);
        EXPECT_FALSE(checker_);
    }

    std::vector<Report> reports_;
    ILumRevocationCheckerPtr checker_;

private:
    static inline Hierarchy* a_ = nullptr;
    static inline Hierarchy* b_ = nullptr;
    static inline Hierarchy* c_ = nullptr;
};

TEST_F(RevocationCheckerTest, EmptyContainerLoadsNothingAndRequiresNothing)
{
    ASSERT_EQ(Create({}), lumOk);
    EXPECT_TRUE(reports_.empty());
    ASSERT_EQ(checker_->GetRootCount(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(checker_->GetDatabase(i), nullptr);
    }
}

TEST_F(RevocationCheckerTest, LoadsDatabasesOfKnownRootsAndSkipsOthers)
{
    const Hierarchy unknown = Hierarchy::Make("Unknown", 0x4001);
    const RevocationDatabase b5and6 = Database(B(), {5, 6});
    ASSERT_EQ(Create(BuildContainer({Database(unknown), b5and6, Database(A())})), lumOk);
    EXPECT_TRUE(reports_.empty());
    const RevocationDatabaseInfo* a = checker_->GetDatabase(0);
    const RevocationDatabaseInfo* b = checker_->GetDatabase(1);
    ASSERT_TRUE(a && b);
    EXPECT_EQ(b->hierarchyId, (Bytes{0x20, 0x01}));
    EXPECT_EQ(b->revokedCount, 2u);
    EXPECT_EQ(b->size, b5and6.crl.size());
    EXPECT_EQ(b->issued.size(), 19u) << b->issued;
    EXPECT_EQ(checker_->GetDatabase(2), nullptr) << "optional root without a database";
}

TEST_F(RevocationCheckerTest, RefusesASecondDatabaseForOneRoot)
{
    EXPECT_EQ(Create(BuildContainer({Database(A()), Database(B()), Database(A(), {1})})),
              lumErrRdbAlreadyExists);
    ExpectOneReport("Duplicate revocation database.", lumErrRdbAlreadyExists, 2);
    EXPECT_EQ(reports_[0].data, A().HierarchyId());
}

TEST_F(RevocationCheckerTest, RequiresADatabaseForEveryRequiredRoot)
{
    EXPECT_EQ(Create(BuildContainer({Database(B()), Database(C())})), lumErrRdbAbsent);
    ExpectOneReport("Required revocation database is absent.", lumErrRdbAbsent, 0);
    EXPECT_EQ(reports_[0].data, A().HierarchyId());

    EXPECT_EQ(Create(BuildContainer({Database(A())})), lumErrRdbAbsent);
    ExpectOneReport("Required revocation database is absent.", lumErrRdbAbsent, 1);
}

TEST_F(RevocationCheckerTest, RefusesDatabasesNotSignedByTheirRoot)
{
    const pki::Key stranger = pki::Key::Generate();
    const RevocationDatabase wrongKey{A().HierarchyId(), pki::MakeCrl(A().root, stranger, {})};
    EXPECT_EQ(Create(BuildContainer({Database(B()), wrongKey})), lumErrInvalidSignature);
    ExpectOneReport("Failed to verify signature of revocation database.", lumErrInvalidSignature,
                    1);

    // Signed by the root's key, but issued in another name.
    const RevocationDatabase wrongIssuer{A().HierarchyId(),
                                         pki::MakeCrl(A().intermediate, A().rootKey, {})};
    EXPECT_EQ(Create(BuildContainer({wrongIssuer})), lumErrInvalidSignature);
    ExpectOneReport("Failed to verify signature of revocation database.", lumErrInvalidSignature,
                    0);

    // B's valid database filed under A's identifier.
    EXPECT_EQ(Create(BuildContainer({{A().HierarchyId(), B().Crl({})}})), lumErrInvalidSignature);
}

TEST_F(RevocationCheckerTest, RefusesContainersAndDatabasesThatDoNotParse)
{
    EXPECT_EQ(Create(pki::ToBlob("LUMRDB01garbage")), lumErrInvalidFormat);
    ExpectOneReport("Failed to load revocation databases container.", lumErrInvalidFormat,
                    kNoDatabaseIndex);

    Bytes truncatedCrl = A().Crl({});
    truncatedCrl.pop_back();
    EXPECT_EQ(Create(BuildContainer({{A().HierarchyId(), truncatedCrl}})), lumErrInvalidFormat);
    ExpectOneReport("Failed to load revocation database.", lumErrInvalidFormat, 0);

    EXPECT_EQ(Create(BuildContainer({{{}, A().Crl({})}})), lumErrInvalidFormat);
    ExpectOneReport("Failed to get revocation databases identifier.", lumErrInvalidFormat, 0);
}

TEST_F(RevocationCheckerTest, ChecksItsArguments)
{
    ILumRevocationCheckerPtr checker;
    EXPECT_EQ(LumCreateRevocationChecker({}, {}, 0, {}, {}, checker), lumErrInvalidArgument);
    const Bytes garbage = pki::ToBlob("garbage");
    const std::vector<ByteSpan> roots{garbage};
    EXPECT_EQ(LumCreateRevocationChecker(roots, {}, 0, {}, {}, checker), lumErrInvalidFormat);

    LumReleaseLibrary();
    const Bytes a = A().root.ToDer();
    const std::vector<ByteSpan> good{a};
    EXPECT_EQ(LumCreateRevocationChecker(good, {}, 0, {}, {}, checker), lumErrNotInitialized);
    EXPECT_FALSE(checker);
    ASSERT_EQ(LumInitializeLibrary(), lumOk);
}

} // namespace
} // namespace crypto::lum
