#include "utils/base64.h"
#include "utils/hash_stream.h"
#include "utils/hash_test_data.h"
#include "vorn/gost2012.h"
#include "vorn/vorn_exception.h"

#include <boost/exception/get_error_info.hpp>
#include <gtest/gtest.h>
#include <zel/memory_io.h>

namespace integrity_check_tool::vorn {
namespace {

using test::Hex;
using test::Pattern;

struct Vector {
    const char* name;
    Blob input;
    const char* base64Of256;
    const char* base64Of512;
};

// The two messages of the standard, then lengths past the 64-byte block and
// the read size, and inputs whose 512-bit sums carry across words.
const std::vector<Vector>& KnownAnswers()
{
    // clang-format off
    static const std::vector<Vector> vectors = {
        {"standard-m1", Hex("3031323334353637383930313233343536373839303132333435363738393031"
             "32333435363738393031323334353637383930313233343536373839303132"),
        "nRUe79hZC4naprpst0r5J13QUQJrsUmkUv2E5eV7VQA=",
        "G1TQGkr1udXMPYbWjShUYrGavCR1Ii81wIUSK+S6H/oArTD4dns6gjhMZXTwJMMR4qSBMysI739BeXiRwWRvSA=="},
        {"standard-m2", Hex("d1e520e2e5f2f0e82c20d1f2f0e8e1eee6e820e2edf3f6e82c20e2e5fef2fa20"
             "f120eceef0ff20f1f2f0e5ebe0ece820ede020f5f0e0e1f0fbff20efebfaeafb"
             "20c8e3eef0e5e2fb"),
        "ndL+TpBAnl2of1OXbXQFsMDKxij8Zpp0HVAGPFV+j1A=",
        "HojmIia/ym+ZlPHy1RVp4Nr4R1o7D+YaUwDu5G2WE3YDX+g1Sa2iuGIPzXxJbOWzPwy53dwrZGAUOwPausn7KA=="},
        {"empty", Hex(""),
        "P1OaIT6XyALMIp1HTGqjKoJaNgsqkzqUn9klII2c4bs=",
        "jpRdogmqhp8EVZKFKbyuRnnphzq3B7VTFfVs65i+8Kc2L3FVKDVu6DzaXyqsTGrSujpxXBvNgcuOn5C/TBwaig=="},
        {"pattern-64", Pattern(64),
        "G84jZuSuzWPHX5cr/GpRTgPiElkgvqW1nL2M4L5WuPM=",
        "KuWB8YroXjWWyTasvvkQ8u1w3Pke1dJLOaWvZXv4IyowPWhgVsjAC/MNQuFs4lVCb6ihVdyz64ItklgI98fjRQ=="},
        {"pattern-65", Pattern(65),
        "POA1FmnsZ0PTJhIMZ+JwQ+t3Qqh0xhqTPE2JcDZMuXw=",
        "nO7FJ/B/gyq+FugnTGfb8iNv0FeQQmI33Jq/te7W2vIIR98MlMdUtOiPCbg2iQ5oMD749YndblFInPqdO7/a3Q=="},
        {"pattern-4097", Pattern(4097),
        "PsVAoiYbAK8gmPBlZGk42tI7MkyZF8IKM0cZeeaZ+NY=",
        "l1WSL1nLqDvURPLDNEiL7ilv4Nc7g7emVECBxmoPulrkMd7Y18eJiNkdESfmRgoN238YvtX3sSNP9mOpNFDu6A=="},
        {"ff-128", test::Repeat(0xff, 128),
        "R0m/w3t92tfHRdwtofsiYZ9wFUwGSuO2yzS8KywIJ8E=",
        "kKFh0SrTCUmNP+XUggLYpOnEBtaiZK6rJYrF7MN6eWKq+Vh6WrsJtruB7Es3UqP/WoOO8XW+V3IFa8X+VPz8fg=="},
        {"carry-128", Hex("eeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeee"
             "eeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeee"
             "1611111111111111111111111111111111111111111111111111111111111111"
             "1111111111111111111111111111111111111111111111111111111111111116"),
        "gbtjL6MfzDi0w3mmYtvFi5vtg/UNOhss5ycasC0lurs=",
        "iwb0HlmQfZY26JLK9ZQvzftx+jEWml5w8O24c2ZN9Bwszm4G3GdV0VphzeuSvWB8xKrKZzK/NWiiOiEN1SD9QQ=="},
        {"carry-144", Hex("d0cf11e0a1b11ae1000000000000000000000000000000003e000300feff0900"
             "0600000000000000000000000100000001000000000000000010000024000000"
             "01000000feffffff0000000000000000ffffffffffffffffffffffffffffffff"
             "ffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff"
             "ffffffffffffffffffffffffffffffff"),
        "x2YIVUDKqolTv896G6IgYZzuUNZdwkL4LyO6SxgLGOA=",
        "PUahF6kaySIPbe5NHbg/DQGPeZtYyhGGSPfW5PguN+lRRZd26GbU4xRnr8hDzojo1tti4/uTy5/NYHA950koKA=="},
    };
    // clang-format on
    return vectors;
}

class Gost2012Test : public ::testing::Test {
protected:
    std::shared_ptr<const Gost2012> hash_ = GetGost2012();
    std::mt19937 random_{7};
};

// Whole buffers, streams read in full and streams that return short reads.
TEST_F(Gost2012Test, KnownAnswersOfBothLengthsFromBuffersAndStreams)
{
    for (const Vector& vector : KnownAnswers()) {
        SCOPED_TRACE(vector.name);
        EXPECT_EQ(Base64Encode(Gost2012::CalculateHash(vector.input, StreebogSize::Bits256)),
                  vector.base64Of256);
        EXPECT_EQ(Base64Encode(Gost2012::CalculateHash(vector.input, StreebogSize::Bits512)),
                  vector.base64Of512);
        EXPECT_EQ(
            Base64Encode(hash_->CalculateHash(zel::MakeIntrusive<zel::MemoryIO>(vector.input))),
            vector.base64Of256);
        EXPECT_EQ(Base64Encode(hash_->CalculateHash(test::ShortReadStream(vector.input, random_),
                                                    StreebogSize::Bits512)),
                  vector.base64Of512);
    }
}

TEST_F(Gost2012Test, FailingOrMissingStreamThrowsVornException)
{
    const zel::Result error = zel::ResultFromErrno(EIO);
    try {
        hash_->CalculateHash(test::FailingStream(Pattern(5000), error));
        FAIL() << "no exception";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.GetCode(), kReadCallbackError);
        EXPECT_EQ(exception.GetDescription(),
                  "Can't calculate hash: The external GetBuffer_CallBack function error occurred");
        const zel::Result* result = boost::get_error_info<StreamResult>(exception);
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(*result, error);
        EXPECT_NE(boost::get_error_info<boost::throw_file>(exception), nullptr);
    }
    try {
        hash_->CalculateHash(nullptr);
        FAIL() << "no exception";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.GetCode(), kInvalidParameters);
        EXPECT_EQ(exception.GetStep(), "Can't calculate hash");
    }
}

} // namespace
} // namespace integrity_check_tool::vorn
