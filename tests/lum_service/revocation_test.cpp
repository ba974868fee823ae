#include <optional>

#include <gtest/gtest.h>
#include <lum/revocation.h>
#include <lum/service.h>

#include "support/pki.h"

namespace crypto::lum {
namespace {

namespace pki = integrity_check_tool::test::pki;
using pki::Hierarchy;

struct Report {
    Bytes data;
    std::uint32_t index = 0;
    std::int32_t result = 0;
};

/// Required roots A and B, optional root C.
class RevocationCheckerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        for (const char* name : {"A", "B", "C"}) {
            hierarchies_.push_back(Hierarchy::Make(name, 0x1001 + 0x1000 * hierarchies_.size()));
        }
    }
    static void TearDownTestSuite() { hierarchies_.clear(); }
    void SetUp() override { ASSERT_EQ(LumInitializeLibrary(), lumOk); }
    void TearDown() override { LumReleaseLibrary(); }

    static const Hierarchy& A() { return hierarchies_[0]; }
    static const Hierarchy& B() { return hierarchies_[1]; }
    static RevocationDatabase Database(const Hierarchy& hierarchy,
                                       std::vector<std::uint64_t> serials = {})
    {
        return {hierarchy.HierarchyId(), hierarchy.Crl(serials)};
    }

    /// A CRL of `hierarchy`'s root, dated (in days from now) and signed as given.
    static Bytes Dated(const Hierarchy& hierarchy, int thisUpdate, std::optional<int> nextUpdate,
                       const char* digest = "SHA256")
    {
        return pki::MakeCrl(hierarchy.root, hierarchy.rootKey, {},
                            {thisUpdate, nextUpdate, digest});
    }

    std::int32_t Create(const Bytes& container)
    {
        const Bytes a = A().root.ToDer();
        const Bytes b = B().root.ToDer();
        const Bytes c = hierarchies_[2].root.ToDer();
        const std::vector<ByteSpan> required{a, b};
        const std::vector<ByteSpan> optional{c};
        reports_.clear();
        checker_.reset();
        return LumCreateRevocationChecker(
            required, optional, 0, container,
            [this](const char* /*message*/, const std::uint8_t* data, std::size_t size,
                   std::uint32_t index, std::int32_t result) {
                reports_.push_back({Bytes(data, data + size), index, result});
            },
            checker_);
    }

    static inline std::vector<Hierarchy> hierarchies_;
    std::vector<Report> reports_;
    ILumRevocationCheckerPtr checker_;
};

// Databases of roots outside both sets are skipped; an optional root may
// have none, and an empty container requires nothing.
TEST_F(RevocationCheckerTest, LoadsDatabasesOfKnownRootsAndSkipsOthers)
{
    ASSERT_EQ(Create({}), lumOk);
    EXPECT_EQ(checker_->GetDatabase(0), nullptr);

    const RevocationDatabase b5and6 = Database(B(), {5, 6});
    ASSERT_EQ(Create(BuildContainer(
                  {Database(Hierarchy::Make("Unknown", 0x4001)), b5and6, Database(A())})),
              lumOk);
    EXPECT_TRUE(reports_.empty());
    ASSERT_EQ(checker_->GetRootCount(), 3u);
    const RevocationDatabaseInfo* b = checker_->GetDatabase(1);
    ASSERT_TRUE(checker_->GetDatabase(0) && b);
    EXPECT_EQ(b->hierarchyId, (Bytes{0x20, 0x01}));
    EXPECT_EQ(b->revokedCount, 2u);
    EXPECT_EQ(b->size, b5and6.crl.size());
    EXPECT_EQ(checker_->GetDatabase(2), nullptr);
}

// Each refusal is reported once, with its result and the index of the
// database at fault.
TEST_F(RevocationCheckerTest, RefusesContainersThatBreakTheRules)
{
    const pki::Key stranger = pki::Key::Generate();
    Bytes truncatedCrl = A().Crl({});
    truncatedCrl.pop_back();
    const struct {
        const char* name;
        Bytes container;
        std::int32_t result;
        std::uint32_t index;
    } cases[] = {
        {"second database for a root",
         BuildContainer({Database(A()), Database(B()), Database(A(), {1})}), lumErrRdbAlreadyExists,
         2},
        {"first required root uncovered",
         BuildContainer({Database(B()), Database(hierarchies_[2])}), lumErrRdbAbsent, 0},
        {"second required root uncovered", BuildContainer({Database(A())}), lumErrRdbAbsent, 1},
        {"signed by another key",
         BuildContainer({Database(B()), {A().HierarchyId(), pki::MakeCrl(A().root, stranger, {})}}),
         lumErrInvalidSignature, 1},
        {"root's key, another issuer name",
         BuildContainer({{A().HierarchyId(), pki::MakeCrl(A().intermediate, A().rootKey, {})}}),
         lumErrInvalidSignature, 0},
        {"valid database under another root's id",
         BuildContainer({{A().HierarchyId(), B().Crl({})}}), lumErrInvalidSignature, 0},
        {"container that does not parse", pki::ToBlob("LUMRDB01garbage"), lumErrInvalidFormat,
         kNoDatabaseIndex},
        {"truncated CRL", BuildContainer({{A().HierarchyId(), truncatedCrl}}), lumErrInvalidFormat,
         0},
        {"empty identifier", BuildContainer({{{}, A().Crl({})}}), lumErrInvalidFormat, 0},
        {"root's signature over SHA-1",
         BuildContainer({Database(B()), {A().HierarchyId(), Dated(A(), -1, 30, "SHA1")}}),
         lumErrInvalidSignature, 1},
        {"out of date", BuildContainer({Database(B()), {A().HierarchyId(), Dated(A(), -40, -10)}}),
         lumErrInvalidValue, 1},
        {"not yet valid", BuildContainer({{A().HierarchyId(), Dated(A(), 2, 30)}}),
         lumErrInvalidValue, 0},
        {"no next update", BuildContainer({{A().HierarchyId(), Dated(A(), -1, std::nullopt)}}),
         lumErrInvalidValue, 0},
    };
    for (const auto& refused : cases) {
        SCOPED_TRACE(refused.name);
        EXPECT_EQ(Create(refused.container), refused.result);
        EXPECT_FALSE(checker_);
        ASSERT_EQ(reports_.size(), 1u);
        EXPECT_EQ(reports_[0].result, refused.result);
        EXPECT_EQ(reports_[0].index, refused.index);
    }
    // The report carries the identifier of the root concerned.
    Create(BuildContainer({Database(B())}));
    EXPECT_EQ(reports_.at(0).data, A().HierarchyId());
}

}  // namespace
}  // namespace crypto::lum
