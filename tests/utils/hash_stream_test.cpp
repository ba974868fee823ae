#include "utils/hash_stream.h"
#include "utils/hash_test_data.h"

#include <gtest/gtest.h>

namespace integrity_check_tool {
namespace {

using test::ScriptedIO;

struct Collected {
    zel::Result result;
    Blob bytes;
    std::vector<std::size_t> pieces;
};

Collected Collect(ScriptedIO& io)
{
    Collected collected;
    collected.result = ReadForHashing(io, [&](std::span<const std::uint8_t> data) {
        collected.bytes.insert(collected.bytes.end(), data.begin(), data.end());
        collected.pieces.push_back(data.size());
    });
    return collected;
}

TEST(HashStreamTest, EmptyStreamEndsAtTheFirstZeroRead)
{
    ScriptedIO io({}, {4096});
    const Collected collected = Collect(io);
    EXPECT_EQ(collected.result, zel::kOk);
    EXPECT_TRUE(collected.pieces.empty());
    EXPECT_EQ(io.Requests(), std::vector<std::size_t>{kHashReadSize});
}

TEST(HashStreamTest, FullBlockIsOnePieceFollowedByAZeroRead)
{
    ScriptedIO io(test::Pattern(4096), {4096});
    const Collected collected = Collect(io);
    EXPECT_EQ(collected.result, zel::kOk);
    EXPECT_EQ(collected.pieces, std::vector<std::size_t>{4096});
    EXPECT_EQ(collected.bytes, test::Pattern(4096));
    EXPECT_EQ(io.Requests(), (std::vector<std::size_t>{4096, 4096}));
}

TEST(HashStreamTest, ShortReadsAreReadAgainUntilAZeroRead)
{
    const Blob data = test::Pattern(10000);
    ScriptedIO io(data, {1, 4095, 17, 3000});
    const Collected collected = Collect(io);
    EXPECT_EQ(collected.result, zel::kOk);
    EXPECT_EQ(collected.bytes, data);
    EXPECT_EQ(collected.pieces, (std::vector<std::size_t>{1, 4095, 17, 3000, 1, 2886}));
    for (std::size_t request : io.Requests()) {
        EXPECT_EQ(request, kHashReadSize);
    }
}

TEST(HashStreamTest, NegativeResultStopsReadingAndIsReturned)
{
    const zel::Result error = zel::ResultFromErrno(EIO);
    auto io = test::FailingStream(test::Pattern(5000), error);
    const Collected collected = Collect(*io);
    EXPECT_EQ(collected.result, error);
    EXPECT_EQ(collected.bytes, test::Pattern(5000));
    EXPECT_EQ(io->Requests().size(), 3U);
}

} // namespace
} // namespace integrity_check_tool
