#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <zel/file_io.h>

#include "data_object/read_ahead.h"
#include "hash/gost2012.h"
#include "hash/sha256.h"
#include "support/temp_dir.h"

namespace integrity_check_tool::test {
namespace {

class ReadAheadTest : public ::testing::Test {
protected:
    static constexpr int kFiles = 200;

    ReadAheadTest()
    {
        for (int i = 0; i < kFiles; ++i) {
            WriteFile(Name(i),
                      std::string(static_cast<std::size_t>(i * 131 % 9000), static_cast<char>(i)));
        }
    }

    std::string Name(int i) const { return (dir_ / "f").string() + std::to_string(i); }
    CheckType TypeOf(int i) const { return i % 3 == 0 ? CheckType::Gost2012 : CheckType::Sha256; }

    std::vector<ReadAheadItem> Items() const
    {
        std::vector<ReadAheadItem> items;
        for (int i = 0; i < kFiles; ++i) {
            items.push_back(ReadAheadItem{Name(i), TypeOf(i)});
        }
        return items;
    }

    /// The digest the serial path computes.
    Blob Expected(int i) const
    {
        zel::IIOPtr io;
        EXPECT_EQ(zel::FileIO::Open(Name(i), zel::OpenMode::Read, io), zel::kOk);
        return TypeOf(i) == CheckType::Gost2012 ? vorn::Gost2012(nullptr).CalculateHash(io)
                                                : openssl::GetSha256()->CalculateHash(io);
    }

    TempDir dir_;
};

// Whatever the worker count, items come in order with the digests of the
// serial path; skipped items (filtered entries) leave the following ones
// served, an index may be asked twice, and never one behind.
TEST_F(ReadAheadTest, ServesItemsByIndexWithTheDigestsOfTheSerialPath)
{
    for (const unsigned workers : {0u, 1u, 3u}) {
        SCOPED_TRACE(workers);
        ReadAhead readAhead(Items(), workers);
        for (int i = 0; i < kFiles; i += 1 + i % 4) {
            const auto index = static_cast<std::size_t>(i);
            const ContentDigest digest = readAhead.Take(index);
            EXPECT_EQ(digest.Type(), TypeOf(i)) << i;
            EXPECT_EQ(digest.Value(), Expected(i)) << i;
            if (i % 10 == 1) {
                EXPECT_EQ(readAhead.Take(index).Value(), digest.Value());
            }
        }
        EXPECT_THROW(readAhead.Take(1), std::out_of_range);
        EXPECT_THROW(readAhead.Take(kFiles), std::out_of_range);
    }
}

// Past 256 the count is capped; a setting that is no positive number means
// the number of cores, at least 1 and at most 16.
TEST_F(ReadAheadTest, ThreadCountComesFromTheSettingElseTheCores)
{
    const std::tuple<const char*, unsigned, unsigned> cases[] = {
        {"1", 8, 1},  {"3", 8, 3},  {"100000", 8, 256}, {"0", 8, 8}, {"-2", 8, 8}, {"two", 8, 8},
        {"4x", 8, 8}, {" 4", 8, 8}, {"", 8, 8},         {"", 0, 1},  {"", 64, 16}, {"64", 2, 64},
    };
    for (const auto& [setting, cores, threads] : cases) {
        EXPECT_EQ(ReadAheadThreads(setting, cores), threads) << setting << " " << cores;
    }
    EXPECT_EQ(MakeReadAhead(Items(), 1), nullptr);
    EXPECT_EQ(MakeReadAhead({}, 4), nullptr);
}

}  // namespace
}  // namespace integrity_check_tool::test
