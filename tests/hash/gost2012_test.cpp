#include <random>

#include <gtest/gtest.h>
#include <zel/memory_io.h>

#include "hash/gost2012.h"
#include "hash/hash_stream.h"
#include "hash/streebog_core.h"
#include "utils/base64.h"
#include "utils/hash_test_data.h"

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

// Whole buffers, streams read in full and streams that return short reads.
// The two messages of the standard, then the empty input, a length past the
// read size, and inputs whose 512-bit sums carry across words.
TEST(Gost2012Test, KnownAnswersOfBothLengthsFromBuffersAndStreams)
{
    // clang-format off
    const Vector vectors[] = {
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
        {"pattern-4097", Pattern(4097),
        "PsVAoiYbAK8gmPBlZGk42tI7MkyZF8IKM0cZeeaZ+NY=",
        "l1WSL1nLqDvURPLDNEiL7ilv4Nc7g7emVECBxmoPulrkMd7Y18eJiNkdESfmRgoN238YvtX3sSNP9mOpNFDu6A=="},
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
    const std::shared_ptr<const Gost2012> hash = GetGost2012();
    std::mt19937 random(7);
    for (const Vector& vector : vectors) {
        SCOPED_TRACE(vector.name);
        EXPECT_EQ(Base64Encode(Gost2012::CalculateHash(vector.input, StreebogSize::Bits256)),
                  vector.base64Of256);
        EXPECT_EQ(Base64Encode(Gost2012::CalculateHash(vector.input, StreebogSize::Bits512)),
                  vector.base64Of512);
        EXPECT_EQ(
            Base64Encode(hash->CalculateHash(zel::MakeIntrusive<zel::MemoryIO>(vector.input))),
            vector.base64Of256);
        EXPECT_EQ(Base64Encode(hash->CalculateHash(test::ShortReadStream(vector.input, random),
                                                   StreebogSize::Bits512)),
                  vector.base64Of512);
    }
}

// The vectorised compression must be a drop-in for the portable one; the
// known answers only exercise whichever this processor selects.
TEST(Gost2012Test, VectorAndPortableCompressionAgree)
{
    const streebog::CompressFunction vector = streebog::VectorCompress();
    if (vector == nullptr) {
        GTEST_SKIP() << "no vectorised compression on this build or processor";
    }
    std::mt19937_64 random(42);
    for (int i = 0; i < 200; ++i) {
        streebog::Block h;
        streebog::Block m;
        streebog::Block n;
        for (std::size_t word = 0; word < 8; ++word) {
            h[word] = random();
            m[word] = random();
            n[word] = i % 2 == 0 ? random() : 0;
        }
        streebog::Block portable = h;
        streebog::CompressPortable(portable, m, n);
        vector(h, m, n);
        EXPECT_EQ(h, portable) << "block " << i;
    }
}

}  // namespace
}  // namespace integrity_check_tool::vorn
