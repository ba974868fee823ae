#include <boost/exception/get_error_info.hpp>
#include <gtest/gtest.h>
#include <zel/memory_io.h>

#include "exception.h"
#include "hash/hash_stream.h"
#include "hash/sha256.h"
#include "utils/base64.h"
#include "utils/hash_test_data.h"

namespace integrity_check_tool::openssl {
namespace {

using test::Hex;
using test::Pattern;

std::string HashOf(const IHash& hash, zel::intrusive_ptr<zel::IIO> io)
{
    return Base64Encode(hash.CalculateHash(io));
}

class Sha256Test : public ::testing::Test {
protected:
    IHashPtr hash_ = GetSha256();
    std::mt19937 random_{20240611};
};

TEST_F(Sha256Test, KnownAnswersWithFullAndShortReads)
{
    const struct {
        const char* name;
        Blob input;
        const char* base64;
    } vectors[] = {
        {"empty", Hex(""), "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU="},
        {"abc", Hex("616263"), "ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0="},
        {"one-zero-byte", Hex("00"), "bjQLnP+zepicpUTmu3gKLHiQHT+zNzh2hRGjBhevoB0="},
        {"pattern-63", Pattern(63), "Ka8mhv1TN0o2sIRmlMw0IXfkKNFkdRXweHhNac255Ig="},
        {"pattern-64", Pattern(64), "/eq5rPNxA2K9JljNyaKej5x1f8+YEWA6jER80dkVEQg="},
        {"pattern-65", Pattern(65), "S/0si28e7Hoq/rSLk07ksmlBggJ+bQ/AdQdPL6uzF4E="},
        {"pattern-4096", Pattern(4096), "yPXQNB1U2VGnGxNubir8sU0R7YSJp64Sao/uDfbs8ZM="},
        {"pattern-4097", Pattern(4097), "Hpc9Ap3yssZstCqULF7bRZZvAquv8p/plBDkTScdDvw="},
        {"pattern-1048576", Pattern(1048576), "+7qyiff5SyVzbFi+RqmUxEH9AlUsxgIjUuPYbS+rfIM="},
    };
    for (const auto& vector : vectors) {
        SCOPED_TRACE(vector.name);
        EXPECT_EQ(HashOf(*hash_, zel::MakeIntrusive<zel::MemoryIO>(vector.input)), vector.base64);
        EXPECT_EQ(HashOf(*hash_, test::ShortReadStream(vector.input, random_)), vector.base64);
    }
}

TEST_F(Sha256Test, StreamFailureThrowsWithTheStreamResult)
{
    const zel::Result error = zel::ResultFromErrno(EIO);
    try {
        hash_->CalculateHash(test::FailingStream(Pattern(5000), error));
        FAIL() << "no exception";
    } catch (const Exception& exception) {
        EXPECT_NE(exception.GetDescription().find(zel::ResultMessage(error)), std::string::npos)
            << exception.GetDescription();
        const zel::Result* result = boost::get_error_info<StreamResult>(exception);
        EXPECT_TRUE(result != nullptr && *result == error);
    }
}

}  // namespace
}  // namespace integrity_check_tool::openssl
