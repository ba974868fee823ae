#include "support/temp_dir.h"
#include "utils/base64.h"
#include "utils/hash_stream.h"
#include "utils/hash_test_data.h"
#include "vorn/gost2012.h"
#include "vorn/vorn_exception.h"

#include <boost/exception/get_error_info.hpp>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sstream>
#include <zel/memory_io.h>

namespace integrity_check_tool::vorn {
namespace {

using test::Hex;
using test::Pattern;
using test::Repeat;

struct Vector {
    const char* name;
    Blob input;
    const char* base64Of256;
    const char* base64Of512;
};

const std::vector<Vector>& KnownAnswers()
{
    // clang-format off
    static const std::vector<Vector> vectors = {
        {"rfc6986-m1", Hex("3031323334353637383930313233343536373839303132333435363738393031"
             "32333435363738393031323334353637383930313233343536373839303132"),
        "nRUe79hZC4naprpst0r5J13QUQJrsUmkUv2E5eV7VQA=",
        "G1TQGkr1udXMPYbWjShUYrGavCR1Ii81wIUSK+S6H/oArTD4dns6gjhMZXTwJMMR4qSBMysI739BeXiRwWRvSA=="},
        {"rfc6986-m2", Hex("d1e520e2e5f2f0e82c20d1f2f0e8e1eee6e820e2edf3f6e82c20e2e5fef2fa20"
             "f120eceef0ff20f1f2f0e5ebe0ece820ede020f5f0e0e1f0fbff20efebfaeafb"
             "20c8e3eef0e5e2fb"),
        "ndL+TpBAnl2of1OXbXQFsMDKxij8Zpp0HVAGPFV+j1A=",
        "HojmIia/ym+ZlPHy1RVp4Nr4R1o7D+YaUwDu5G2WE3YDX+g1Sa2iuGIPzXxJbOWzPwy53dwrZGAUOwPausn7KA=="},
        {"empty", Hex(""),
        "P1OaIT6XyALMIp1HTGqjKoJaNgsqkzqUn9klII2c4bs=",
        "jpRdogmqhp8EVZKFKbyuRnnphzq3B7VTFfVs65i+8Kc2L3FVKDVu6DzaXyqsTGrSujpxXBvNgcuOn5C/TBwaig=="},
        {"abc", Hex("616263"),
        "TikZzxN+1B7E+2JwxhgmzE//tmA0HgrzaIzQYm0jtIE=",
        "KBVuKDF9p8mPT+K+1rVC0Nq4W7IkRF/O2vddRuJtfrjVmX8+CRXda38KqwjZyL6w2MZLriq4s8jGvFOzvw23KA=="},
        {"one-zero-byte", Hex("00"),
        "b3MFJl3Ak3RAiB+Uk+8SYPYanUd0LTaelS1BvbKp7dE=",
        "xrY4EzupcGQQ3fG+oF1Av3AUUA1BDAq94Xv/A4PBvTY74tqFxCi+hu1IyH+3YBNiKyK2qjkdYlLOOmVIexup5A=="},
        {"pattern-63", Pattern(63),
        "k3xmz4wVHZLVrKwzXZUQc8aXEXJxckQ8k6upcHG49Is=",
        "YOq8T/9uiuC6xPWrR484MEY8AYb6WOHkNtMQhpGhzXUEGaYFPsuuXE0NC1NxRX/F8TTh+OJQ6ZF1nICTwHR+vQ=="},
        {"pattern-64", Pattern(64),
        "G84jZuSuzWPHX5cr/GpRTgPiElkgvqW1nL2M4L5WuPM=",
        "KuWB8YroXjWWyTasvvkQ8u1w3Pke1dJLOaWvZXv4IyowPWhgVsjAC/MNQuFs4lVCb6ihVdyz64ItklgI98fjRQ=="},
        {"pattern-65", Pattern(65),
        "POA1FmnsZ0PTJhIMZ+JwQ+t3Qqh0xhqTPE2JcDZMuXw=",
        "nO7FJ/B/gyq+FugnTGfb8iNv0FeQQmI33Jq/te7W2vIIR98MlMdUtOiPCbg2iQ5oMD749YndblFInPqdO7/a3Q=="},
        {"pattern-127", Pattern(127),
        "UOnczXHrUMr/pRljwk2MdNjg6Gy/ZTSA8zAdnKUjZT4=",
        "JKaKEqGKuOxLuiNiCMUNYj2z1yYWdbiHU7F2HBk0RTC3Yqn/eqKQ6jvaGjYfLm+cE+YtVCamENpUi3QYwdBJ1g=="},
        {"pattern-128", Pattern(128),
        "knKFFlEE5VhyM3cs5JbZa/EIyUL0OZmGpryOkI6WIqQ=",
        "qNZeaJyJ2M1GFiFdFOv8Apk73j9cfXIZkE2HhIzpJJ5841Ja5gXYWjWWRXyID5OO6tl0uR9hID0xZlym86HezA=="},
        {"pattern-129", Pattern(129),
        "c3P30Jr+UWQNLf25oti9KTRVNAw18lKQZQMXDrPmo30=",
        "B5XXPP+Qq+IUhuzwneNoQ1LCpUNXhTzvhfaV3PftZkD/MZY5xxLj+k4Q4zVH/UsIy9qiHg01pwAeJPuLeKwLuw=="},
        {"pattern-4096", Pattern(4096),
        "7UtyRc1L104mwMKYPwxV1f+kC/n6a8hpAfrE9aRYvW4=",
        "y4RKTqLx/q4ZvgSplpE5VAL+DMQ3+HTufr7femlySecXhSVTachy6JmTm/dVAsJ9KG3vfcMn06DYX9+8gbi8Og=="},
        {"pattern-4097", Pattern(4097),
        "PsVAoiYbAK8gmPBlZGk42tI7MkyZF8IKM0cZeeaZ+NY=",
        "l1WSL1nLqDvURPLDNEiL7ilv4Nc7g7emVECBxmoPulrkMd7Y18eJiNkdESfmRgoN238YvtX3sSNP9mOpNFDu6A=="},
        {"pattern-1048576", Pattern(1048576),
        "TnrjtsZVe9z2LyQN+k+hcgN2Oo1ZdscEYd0Km4bQkoI=",
        "p6dKre/g05hKMdtL4YlrFk73CdZSxvPcDrocwn85mOYaWEaYZ436lpKi5aqhDpiSM5/Xtu6fI3egMXM+0xW02A=="},
        {"ff-64", Repeat(0xff, 64),
        "lkpatgKG8QYoh0Pi/hpCLRYImMob1TXoMapQDP401+g=",
        "QWKd5nfX6AkMPNcK/+MwDR4c+6Lbl5Rew3/rThN1vAKlPwA3C31xWwfzf5PKyETvrb/RuF+d2uPellbA6Vr/xw=="},
        {"ff-128", Repeat(0xff, 128),
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

std::string ToHex(const Blob& bytes)
{
    std::string text;
    char digits[3];
    for (std::uint8_t byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

class Gost2012Test : public ::testing::Test {
protected:
    std::shared_ptr<const Gost2012> hash_ = GetGost2012();
    std::mt19937 random_{7};
};

TEST_F(Gost2012Test, KnownAnswersOfBothLengths)
{
    for (const Vector& vector : KnownAnswers()) {
        SCOPED_TRACE(vector.name);
        EXPECT_EQ(Base64Encode(Gost2012::CalculateHash(vector.input, StreebogSize::Bits256)),
                  vector.base64Of256);
        EXPECT_EQ(Base64Encode(Gost2012::CalculateHash(vector.input, StreebogSize::Bits512)),
                  vector.base64Of512);
    }
}

TEST_F(Gost2012Test, StreamsWithFullAndShortReadsGiveTheKnownAnswers)
{
    for (const Vector& vector : KnownAnswers()) {
        SCOPED_TRACE(vector.name);
        EXPECT_EQ(
            Base64Encode(hash_->CalculateHash(zel::MakeIntrusive<zel::MemoryIO>(vector.input))),
            vector.base64Of256);
        EXPECT_EQ(Base64Encode(hash_->CalculateHash(test::ShortReadStream(vector.input, random_),
                                                    StreebogSize::Bits512)),
                  vector.base64Of512);
    }
}

// Finish starts a new message, and pieces of any size add up to the whole.
TEST_F(Gost2012Test, OneContextServesManyMessagesFedInPieces)
{
    const Blob data = test::RandomBytes(random_, 5000);
    const Blob expected = Gost2012::CalculateHash(data, StreebogSize::Bits256);
    Streebog context(StreebogSize::Bits256);
    for (int round = 0; round < 3; ++round) {
        std::size_t offset = 0;
        while (offset < data.size()) {
            const std::size_t size = std::min<std::size_t>(random_() % 200, data.size() - offset);
            context.Update(std::span(data).subspan(offset, size));
            offset += size;
        }
        EXPECT_EQ(context.Finish(), expected);
    }
}

TEST_F(Gost2012Test, StreamFailureThrowsVornExceptionWithTheStreamResult)
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
}

TEST_F(Gost2012Test, MissingStreamIsAnInvalidParameter)
{
    try {
        hash_->CalculateHash(nullptr);
        FAIL() << "no exception";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.GetCode(), kInvalidParameters);
        EXPECT_EQ(exception.GetStep(), "Can't calculate hash");
    }
}

TEST_F(Gost2012Test, AccessorSharesTheInstanceOnlyWhileHeld)
{
    IHashPtr asInterface = GetGost2012();
    EXPECT_EQ(asInterface.get(), hash_.get());
    std::weak_ptr<const Gost2012> weak = hash_;
    hash_.reset();
    EXPECT_FALSE(weak.expired());
    asInterface.reset();
    EXPECT_TRUE(weak.expired());
}

// Another implementation on this machine must agree on random messages of
// random lengths, including lengths around the block and read sizes.
TEST_F(Gost2012Test, AgreesWithRhash)
{
    if (std::system("command -v rhash >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "rhash is not installed";
    }
    test::TempDir directory;
    std::vector<std::size_t> sizes = {0, 1, 63, 64, 65, 4095, 4096, 4097, 8192};
    for (int i = 0; i < 16; ++i) {
        sizes.push_back(random_() % 20000);
    }
    std::string command = "rhash --gost12-256";
    std::vector<Blob> inputs;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        inputs.push_back(test::RandomBytes(random_, sizes[i]));
        const Path path = directory / ("input" + std::to_string(i));
        test::WriteFile(path, std::string_view(reinterpret_cast<const char*>(inputs.back().data()),
                                               inputs.back().size()));
        command += " '" + path.string() + "'";
    }

    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    ASSERT_NE(pipe, nullptr);
    std::string output;
    char buffer[4096];
    while (std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe.get())) {
        output.append(buffer, count);
    }
    std::istringstream lines(output);
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        std::string line;
        ASSERT_TRUE(std::getline(lines, line)) << output;
        SCOPED_TRACE("length " + std::to_string(inputs[i].size()));
        EXPECT_EQ(line.substr(0, line.find(' ')),
                  ToHex(hash_->CalculateHash(zel::MakeIntrusive<zel::MemoryIO>(inputs[i]))));
    }
}

} // namespace
} // namespace integrity_check_tool::vorn
