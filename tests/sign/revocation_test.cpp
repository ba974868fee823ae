#include "sign_tool.h"
#include "support/temp_dir.h"

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>
#include <lum/format.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace integrity_check_tool::test {
namespace {

/// The hexadecimal digits `openssl x509 -serial` prints for `certificate`.
std::string SerialOf(const std::string& certificate)
{
    const ProcessResult result = RunOpenSsl({"x509", "-in", certificate, "-noout", "-serial"});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    const std::string line = result.out.substr(0, result.out.find('\n'));
    return line.substr(line.find('=') + 1);
}

std::vector<std::uint8_t> FromHex(const std::string& hex)
{
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

class RevocationTest : public ::testing::Test {
protected:
    /// Makes a CRL of the root `root` (demo path without extension) into `name`.
    ProcessResult MakeCrl(const std::string& root, const std::string& name,
                          const std::vector<std::string>& extra = {}) const
    {
        return RunSign(Concat({"--make-crl", "--ca-cert", Demo(root + ".pem"), "--ca-key",
                               Demo(root + ".key"), "--output", (dir_ / name).string()},
                              extra));
    }

    TempDir dir_;
};

TEST_F(RevocationTest, CrlIsSignedByTheRootAndListsTheSerials)
{
    const std::string leafSerial = SerialOf(Demo("regular/leaf.pem"));
    const ProcessResult made =
        MakeCrl("regular/root", "crl.pem",
                {"--revoke", "serial=" + leafSerial, "--revoke", "0x0a", "--days", "7"});
    ASSERT_EQ(made.exitStatus, 0) << made.err;
    EXPECT_EQ(made.out, "SUCCEEDED\n");

    const std::string crl = (dir_ / "crl.pem").string();
    const ProcessResult verified =
        RunOpenSsl({"crl", "-in", crl, "-CAfile", Demo("regular/root.pem"), "-noout"});
    EXPECT_EQ(verified.exitStatus, 0);
    EXPECT_TRUE(Contains(verified.err + verified.out, "verify OK")) << verified.err;
    const std::string text = RunOpenSsl({"crl", "-in", crl, "-noout", "-text"}).out;
    EXPECT_TRUE(Contains(text, "Version 2 (0x1)")) << text;
    EXPECT_TRUE(Contains(text, "Serial Number: " + leafSerial)) << text;
    EXPECT_TRUE(Contains(text, "Serial Number: 0A")) << text;

    std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new_file(crl.c_str(), "r"), &BIO_free);
    ASSERT_TRUE(bio);
    std::unique_ptr<X509_CRL, decltype(&X509_CRL_free)> parsed(
        PEM_read_bio_X509_CRL(bio.get(), nullptr, nullptr, nullptr), &X509_CRL_free);
    ASSERT_TRUE(parsed);
    int days = 0;
    int seconds = 0;
    ASSERT_EQ(ASN1_TIME_diff(&days, &seconds, X509_CRL_get0_lastUpdate(parsed.get()),
                             X509_CRL_get0_nextUpdate(parsed.get())),
              1);
    EXPECT_EQ(days, 7);
    EXPECT_EQ(seconds, 0);
}

TEST_F(RevocationTest, ContainerFilesEachCrlUnderItsRootsSerial)
{
    ASSERT_EQ(MakeCrl("alternative/root", "first.pem").exitStatus, 0);
    ASSERT_EQ(MakeCrl("alternative/root2", "second.pem", {"--revoke", "01"}).exitStatus, 0);
    // DER input is accepted as well as PEM.
    const std::string secondDer = (dir_ / "second.der").string();
    ASSERT_EQ(RunOpenSsl({"crl", "-in", (dir_ / "second.pem").string(), "-outform", "DER", "-out",
                          secondDer})
                  .exitStatus,
              0);

    const Path container = dir_ / "crl" / "lumcrl.rdb";
    WriteFile(dir_ / "crl" / "placeholder", "");
    const ProcessResult made =
        RunSign({"--make-container", "--root", Demo("alternative/root.pem"), "--root",
                 Demo("alternative/root2.der"), "--output", container.string(), secondDer,
                 (dir_ / "first.pem").string()});
    ASSERT_EQ(made.exitStatus, 0) << made.err;

    const std::string bytes = ReadFile(container);
    const std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
    const auto databases = crypto::lum::ParseContainer(data);
    ASSERT_TRUE(databases);
    ASSERT_EQ(databases->size(), 2u);
    const auto& second = (*databases)[0];
    const auto& first = (*databases)[1];
    EXPECT_EQ(std::vector<std::uint8_t>(second.hierarchyId.begin(), second.hierarchyId.end()),
              FromHex(SerialOf(Demo("alternative/root2.pem"))));
    EXPECT_EQ(std::vector<std::uint8_t>(first.hierarchyId.begin(), first.hierarchyId.end()),
              FromHex(SerialOf(Demo("alternative/root.pem"))));
    EXPECT_EQ(std::string(second.crl.begin(), second.crl.end()), ReadFile(secondDer));
}

TEST_F(RevocationTest, CrlOfAnotherIssuerIsRefused)
{
    ASSERT_EQ(MakeCrl("regular/root", "regular.pem").exitStatus, 0);
    ASSERT_EQ(MakeCrl("regular/root", "again.pem").exitStatus, 0);
    ASSERT_EQ(MakeCrl("alternative/root", "alternative.pem").exitStatus, 0);
    // Same subject as the regular root, different key.
    const ProcessResult impostor = RunOpenSsl(
        {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
         "-keyout", (dir_ / "impostor.key").string(), "-out", (dir_ / "impostor.pem").string(),
         "-days", "1", "-subj", "/O=Integrity Demo/CN=Integrity Demo Regular Root"});
    ASSERT_EQ(impostor.exitStatus, 0) << impostor.err;
    ASSERT_EQ(
        RunSign({"--make-crl", "--ca-cert", (dir_ / "impostor.pem").string(), "--ca-key",
                 (dir_ / "impostor.key").string(), "--output", (dir_ / "forged.pem").string()})
            .exitStatus,
        0);

    const auto crl = [this](const char* name) { return (dir_ / name).string(); };
    const struct {
        std::vector<std::string> crls;
        std::string message;
    } cases[] = {
        {{crl("regular.pem"), crl("alternative.pem")},
         "CRL " + crl("alternative.pem") + " is not issued and signed"},
        {{crl("forged.pem")}, "CRL " + crl("forged.pem") + " is not issued and signed"},
        {{crl("regular.pem"), crl("again.pem")}, "are both for root"},
    };
    const Path container = dir_ / "lumcrl.rdb";
    for (const auto& refused : cases) {
        SCOPED_TRACE(refused.message);
        const ProcessResult result =
            RunSign(Concat({"--make-container", "--root", Demo("regular/root.pem"), "--output",
                            container.string()},
                           refused.crls));
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_TRUE(Contains(result.err, refused.message)) << result.err;
        EXPECT_FALSE(boost::filesystem::exists(container));
    }
}

} // namespace
} // namespace integrity_check_tool::test
