#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <zel/file_io.h>

#include "data_object/read_ahead.h"
#include "exception.h"
#include "openssl/sha256.h"
#include "support/temp_dir.h"
#include "vorn/gost2012.h"

namespace integrity_check_tool::test {
namespace {

Blob Digest(const IHash& hash, const Path& path)
{
    zel::IIOPtr io;
    EXPECT_EQ(zel::FileIO::Open(path.string(), zel::OpenMode::Read, io), zel::kOk);
    return hash.CalculateHash(io);
}

class ReadAheadTest : public ::testing::Test {
protected:
    static constexpr int kFiles = 200;

    ReadAheadTest()
    {
        for (int i = 0; i < kFiles; ++i) {
            WriteFile(Name(i), std::string(static_cast<std::size_t>(i * 131 % 9000), static_cast<char>(i)));
        }
    }

    std::string Name(int i) const { return (dir_ / "f").string() + std::to_string(i); }
    CheckType TypeOf(int i) const { return i % 3 == 0 ? CheckType::Gost2012 : CheckType::Sha256; }

    std::vector<ReadAheadItem> Items() const
    {
        std::vector<ReadAheadItem> items;
        for (int i = 0; i < kFiles; ++i) {
            AddReadAheadItem(items, Name(i), TypeOf(i));
        }
        return items;
    }

    Blob Expected(int i) const
    {
        return TypeOf(i) == CheckType::Gost2012 ? Digest(vorn::Gost2012(nullptr), Name(i))
                                                : Digest(*openssl::GetSha256(), Name(i));
    }

    TempDir dir_;
};

TEST_F(ReadAheadTest, DigestsMatchTheSerialOnesWhateverTheWorkerCount)
{
    for (const unsigned workers : {0u, 1u, 3u}) {
        ReadAhead readAhead(Items(), workers);
        for (int i = 0; i < kFiles; ++i) {
            Blob digest;
            ASSERT_TRUE(readAhead.Take(Name(i), TypeOf(i), digest)) << i;
            EXPECT_EQ(digest, Expected(i)) << i;
            if (i % 10 == 0) {  // AnyOf may ask twice for one file
                Blob again;
                ASSERT_TRUE(readAhead.Take(Name(i), TypeOf(i), again));
                EXPECT_EQ(again, digest);
            }
        }
    }
}

TEST_F(ReadAheadTest, PassedItemsAndStrangersFallBackWithoutLosingThePlace)
{
    ReadAhead readAhead(Items(), 2);
    Blob digest;
    EXPECT_FALSE(readAhead.Take("/no/such/item", CheckType::Sha256, digest));
    EXPECT_FALSE(readAhead.Take(Name(0), CheckType::Value, digest));
    // Skipping a few items (their checks passed before hashing) keeps the
    // following ones served.
    for (int i = 0; i < kFiles; i += 1 + i % 4) {
        ASSERT_TRUE(readAhead.Take(Name(i), TypeOf(i), digest)) << i;
        EXPECT_EQ(digest, Expected(i)) << i;
    }
    // Items behind the consumer are given up.
    EXPECT_FALSE(readAhead.Take(Name(1), TypeOf(1), digest));
}

TEST_F(ReadAheadTest, ReadErrorsComeBackAsTheSerialPathThrowsThem)
{
    std::vector<ReadAheadItem> items;
    AddReadAheadItem(items, (dir_ / "missing").string(), CheckType::Sha256);
    AddReadAheadItem(items, dir_.path().string(), CheckType::Gost2012);
    ReadAhead readAhead(std::move(items), 2);
    Blob digest;
    try {
        readAhead.Take((dir_ / "missing").string(), CheckType::Sha256, digest);
        FAIL() << "no exception";
    } catch (const Exception& error) {
        EXPECT_EQ(error.GetDescription(), "Can't read or access file " + (dir_ / "missing").string() +
                                           ". Reason: No such file or directory");
    }
    EXPECT_THROW(readAhead.Take(dir_.path().string(), CheckType::Gost2012, digest), Exception);
}

TEST_F(ReadAheadTest, ThreadCountComesFromTheEnvironment)
{
    const auto threadsWith = [](const char* value) {
        ::setenv("INTEGRITY_CHECK_THREADS", value, 1);
        const unsigned threads = ReadAheadThreads();
        ::unsetenv("INTEGRITY_CHECK_THREADS");
        return threads;
    };
    EXPECT_EQ(threadsWith("1"), 1u);
    EXPECT_EQ(threadsWith("3"), 3u);
    EXPECT_EQ(threadsWith("100000"), 256u);
    const unsigned cores = ReadAheadThreads();
    EXPECT_GE(cores, 1u);
    EXPECT_LE(cores, 16u);
    for (const char* invalid : {"0", "-2", "two", "4x", ""}) {
        EXPECT_EQ(threadsWith(invalid), cores) << invalid;
    }
    EXPECT_EQ(MakeReadAhead(Items(), 1), nullptr);
    EXPECT_EQ(MakeReadAhead({}, 4), nullptr);
}

}  // namespace
}  // namespace integrity_check_tool::test
