#include "utils/hash_stream.h"
#include "utils/hash_test_data.h"

#include <gtest/gtest.h>

namespace integrity_check_tool {
namespace {

// Every read asks for a full block; short reads are read again, and the
// stream ends at the first read of nothing or at the first failure.
TEST(HashStreamTest, ReadsWholeBlocksUntilNothingIsLeftOrAReadFails)
{
    struct Case {
        std::size_t size;
        std::vector<std::size_t> chunks;
        zel::Result end;
        std::vector<std::size_t> pieces;
        std::size_t reads;
    };
    const Case cases[] = {
        {0, {4096}, zel::kOk, {}, 1},
        {4096, {4096}, zel::kOk, {4096}, 2},
        {10000, {1, 4095, 17, 3000}, zel::kOk, {1, 4095, 17, 3000, 1, 2886}, 7},
        {5000, {4096}, zel::ResultFromErrno(EIO), {4096, 904}, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.size);
        test::ScriptedIO io(test::Pattern(c.size), c.chunks, c.end);
        Blob bytes;
        std::vector<std::size_t> pieces;
        EXPECT_EQ(ReadForHashing(io,
                                 [&](std::span<const std::uint8_t> data) {
                                     bytes.insert(bytes.end(), data.begin(), data.end());
                                     pieces.push_back(data.size());
                                 }),
                  c.end);
        EXPECT_EQ(bytes, test::Pattern(c.size));
        EXPECT_EQ(pieces, c.pieces);
        EXPECT_EQ(io.Requests(), std::vector<std::size_t>(c.reads, kHashReadSize));
    }
}

} // namespace
} // namespace integrity_check_tool
