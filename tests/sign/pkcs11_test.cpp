// Keys in a token: a SoftHSM2 token set up in a temporary directory holds
// the demo leaf's EC key and an RSA-2048 leaf made here under the demo
// intermediate; what the tool signs with them must verify like a key file's
// signature, and every token failure must end in one message with the file
// unchanged.

#include <cstdlib>

#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sign_tool.h"
#include "support/pki.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace integrity_check_tool::test {
namespace {

using ::testing::HasSubstr;

const std::string kModule = "/usr/lib/softhsm/libsofthsm2.so";
const std::string kPin = "7302-rel-pin";
const std::string kSoPin = "93051886";
const std::string kToken = "pkcs11:token=release;object=";

/// Runs a host tool; fails the test when it does not succeed.
void Host(const Arguments& command)
{
    const ProcessResult result = RunHostProcess(command);
    ASSERT_EQ(result.exitStatus, 0) << command.front() << ": " << result.err;
}

class Pkcs11Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!EmulatorCommand().empty()) {
            // Debian's arm64 engine and SoftHSM2 can't be installed beside
            // the native ones, and the emulated tool loads arm64 libraries.
            GTEST_SKIP() << "no arm64 pkcs11 engine and SoftHSM2 under the emulator";
        }
        if (!boost::filesystem::exists(kModule)) {
            GTEST_SKIP() << "SoftHSM2 is not installed (scripts/install-deps.sh)";
        }
        boost::filesystem::create_directory(token_ / "tokens");
        WriteFile(token_ / "softhsm2.conf",
                  "directories.tokendir = " + (token_ / "tokens").string() +
                      "\nobjectstore.backend = file\nlog.level = ERROR\n");
        ::setenv("SOFTHSM2_CONF", (token_ / "softhsm2.conf").c_str(), 1);
        Host({"softhsm2-util", "--init-token", "--free", "--label", "release", "--pin", kPin,
              "--so-pin", kSoPin});
        WriteFile(pin_, kPin + "\n");

        // An RSA-2048 code-signing leaf under the demo intermediate.
        const std::string rsaKey = (token_ / "rsa.key").string();
        const pki::Key rsa = pki::Key::Generate(pki::Key::Type::Rsa2048);
        WriteFile(rsaKey, rsa.ToPem());
        WriteFile(rsaCert_, pki::Hierarchy::Load(Demo("regular"))
                                .IssueLeaf(pki::LeafOptions("RSA Leaf", 4300), rsa)
                                .ToPem());

        Import(Demo("regular/leaf.key"), Demo("regular/leaf.pem"), "ec-key", "01");
        Import(rsaKey, rsaCert_.string(), "rsa-key", "02");
        Import(Demo("regular/inter.key"), Demo("regular/inter.pem"), "inter", "03");
        WriteFile(dir_ / "product/agent", "x");
    }

    void TearDown() override { ::unsetenv("SOFTHSM2_CONF"); }

    /// Puts the key pair of `key` and the certificate `cert` into the token
    /// under `label` and `id`.
    void Import(const std::string& key, const std::string& cert, const std::string& label,
                const std::string& id) const
    {
        const std::string pkcs8 = (token_ / (label + ".p8")).string();
        const std::string der = (token_ / (label + ".der")).string();
        Host({"openssl", "pkcs8", "-topk8", "-nocrypt", "-in", key, "-out", pkcs8});
        Host({"softhsm2-util", "--import", pkcs8, "--token", "release", "--label", label, "--id",
              id, "--pin", kPin});
        Host({"openssl", "x509", "-in", cert, "-outform", "DER", "-out", der});
        Host({"pkcs11-tool", "--module", kModule, "--token-label", "release", "--login", "--pin",
              kPin, "--write-object", der, "--type", "cert", "--label", label, "--id", id});
    }

    /// Signs the manifest with `arguments` and the demo chain.
    ProcessResult Sign(Arguments arguments) const
    {
        arguments.insert(arguments.begin(),
                         {"--type", "lum", "--chain", Demo("regular/inter.pem")});
        arguments.push_back(Manifest().string());
        return RunSign(arguments);
    }

    /// Expects stock openssl and the built checker to accept the signed
    /// manifest; openssl's dump of the signature.
    std::string Verified() const
    {
        const std::string bytes = ReadFile(Manifest());
        EXPECT_TRUE(bytes.starts_with(kManifest)) << "the content is kept";
        std::size_t length = 0;
        for (const char byte : bytes.substr(bytes.size() - 12, 4)) {
            length = (length << 8) | static_cast<std::uint8_t>(byte);
        }
        const std::string der = (token_ / "signature.der").string();
        const std::string content = (token_ / "content").string();
        WriteFile(der, bytes.substr(kManifest.size(), length));
        WriteFile(content, kManifest);
        const ProcessResult verified = RunOpenSsl(
            {"cms", "-verify", "-binary", "-inform", "DER", "-in", der, "-content", content,
             "-CAfile", Demo("regular/root.pem"), "-purpose", "any", "-out", "/dev/null"});
        EXPECT_EQ(verified.exitStatus, 0) << verified.err;
        const ProcessResult checked = RunProcess(ICT_CHECKER_PATH, {Manifest().string()});
        EXPECT_EQ(checked.exitStatus, 0) << checked.out << checked.err;
        EXPECT_THAT(checked.out, HasSubstr("\tManifests: 0 / 0 / 1\n"));
        return RunOpenSsl({"cms", "-cmsout", "-print", "-inform", "DER", "-in", der}).out;
    }

    Path Manifest() const { return dir_ / "product/integrity_check.xml"; }

    const std::string kManifest = "<Manifest productName=\"Demo\" productVersion=\"1.0\">"
                                  "<File path=\"%ProductRoot%/agent\"><Check type=\"Value\" "
                                  "value=\"eA==\"/></File></Manifest>\n";
    TempDir token_;  ///< the token's configuration and store, and the files made here
    TempDir dir_;    ///< the product the checker reads
    Path pin_ = token_ / "pin";
    Path rsaCert_ = token_ / "rsa.pem";
};

TEST_F(Pkcs11Test, TokenKeysSignWhatOpensslAndTheCheckerVerify)
{
    const std::string module = "module-path=" + kModule;
    const std::string pinSource = "pin-source=file:" + pin_.string();
    const struct {
        std::string name;
        Arguments arguments;
        std::string digest;
    } cases[] = {
        {"EC key, certificate file, module and PIN options",
         {"--key", kToken + "ec-key;type=private", "--cert", Demo("regular/leaf.pem"),
          "--pkcs11-module", kModule, "--pin-file", pin_.string()},
         "sha256"},
        {"EC key and certificate from the token, module and PIN in the URI",
         {"--key", kToken + "ec-key;type=private?" + module + "&" + pinSource, "--cert",
          kToken + "ec-key;type=cert", "--digest", "sha384"},
         "sha384"},
        {"RSA key through p11-kit's proxy",
         {"--key", kToken + "rsa-key;type=private", "--cert", rsaCert_.string(), "--pin-file",
          pin_.string(), "--digest", "sha512"},
         "sha512"},
        {"RSA key and certificate from the token",
         {"--key", kToken + "rsa-key;type=private", "--cert", kToken + "rsa-key;type=cert",
          "--pkcs11-module", kModule, "--pin-file", pin_.string()},
         "sha256"},
    };
    for (const auto& signing : cases) {
        SCOPED_TRACE(signing.name);
        WriteFile(Manifest(), kManifest);
        const ProcessResult result = Sign(signing.arguments);
        ASSERT_EQ(result.exitStatus, 0) << result.err;
        EXPECT_EQ(result.out, std::string(kVerifiedRegular) + "\nSUCCEEDED\n");
        EXPECT_EQ(result.err, "");
        const std::string dump = Verified();
        EXPECT_THAT(dump, HasSubstr(signing.digest));
        EXPECT_THAT(dump, HasSubstr("CN=Integrity Demo Regular Intermediate"));
    }
}

// Each failure is one message: nothing from the engine or the module comes
// before the tool's own, and the PIN never shows.
TEST_F(Pkcs11Test, TokenFailuresEndInOneMessageAndChangeNothing)
{
    const std::string wrongPin = (token_ / "wrong-pin").string();
    WriteFile(wrongPin, "1111\n");
    const std::string emptyPin = (token_ / "empty-pin").string();
    WriteFile(emptyPin, "\n");
    const Arguments pin = {"--pkcs11-module", kModule, "--pin-file", pin_.string()};
    const auto ec = [&](const std::string& key, const std::string& cert, const Arguments& extra) {
        Arguments arguments = {"--key", key, "--cert", cert};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        return arguments;
    };
    const std::string ecKey = kToken + "ec-key;type=private";
    const std::string leaf = Demo("regular/leaf.pem");
    const struct {
        std::string message;
        Arguments arguments;
    } cases[] = {
        {"through PKCS#11 module " + kModule + ": PIN incorrect",
         ec(ecKey, leaf, {"--pkcs11-module", kModule, "--pin-file", wrongPin})},
        {"Can't load private key " + kToken + "no-key;type=private through PKCS#11 module " +
             kModule + ": object not found",
         ec(kToken + "no-key;type=private", leaf, pin)},
        {"Can't load private key pkcs11:token=absent;object=ec-key;type=private through PKCS#11 "
         "module " +
             kModule + ": object not found: no token matches the URI",
         ec("pkcs11:token=absent;object=ec-key;type=private", leaf, pin)},
        {"shows it only after a login (give --pin-file)",
         ec(ecKey, leaf, {"--pkcs11-module", kModule})},
        {"Can't load certificate " + kToken + "no-cert;type=cert through PKCS#11 module " +
             kModule + ": object not found",
         ec(ecKey, kToken + "no-cert;type=cert", pin)},
        {"Can't load PKCS#11 module /nonexistent/module.so: /nonexistent/module.so: cannot open",
         ec(ecKey, leaf,
            {"--pkcs11-module", "/nonexistent/module.so", "--pin-file", pin_.string()})},
        {"Private key " + ecKey + " does not match certificate " + rsaCert_.string(),
         ec(ecKey, rsaCert_.string(), pin)},
        {"Private key " + kToken + "rsa-key;type=private does not match certificate " + kToken +
             "ec-key;type=cert",
         ec(kToken + "rsa-key;type=private", kToken + "ec-key;type=cert", pin)},
        {"Certificate " + kToken + "inter;type=cert is not for code signing",
         ec(kToken + "inter;type=private", kToken + "inter;type=cert", pin)},
        {"A PIN can't be given in a PKCS#11 URI (pin-value)",
         ec(ecKey + "?pin-value=" + kPin, leaf, {"--pkcs11-module", kModule})},
        {"A PIN can't be given in a PKCS#11 URI (pin-value)",
         ec(kToken + "ec-key;pin-value=" + kPin + ";type=private", leaf, {})},
        {"Unsupported pin-source in PKCS#11 URI",
         ec(ecKey + "?pin-source=%7Ccat%20pin", leaf, {"--pkcs11-module", kModule})},
        {"PIN file " + emptyPin + " holds no PIN",
         ec(ecKey, leaf, {"--pkcs11-module", kModule, "--pin-file", emptyPin})},
        {"The key and the certificate name different PKCS#11 modules",
         ec(ecKey + "?module-path=" + kModule, kToken + "ec-key;type=cert?module-path=/other.so",
            {"--pin-file", pin_.string()})},
        {"Invalid PKCS#11 URI", ec(kToken + "ec%4-key;type=private", leaf, pin)},
        {"Options --pkcs11-module and --pin-file are for a --key or --cert given as a pkcs11: URI",
         ec(Demo("regular/leaf.key"), leaf, {"--pin-file", pin_.string()})},
    };
    for (const auto& refused : cases) {
        SCOPED_TRACE(refused.message);
        WriteFile(Manifest(), kManifest);
        const ProcessResult result = Sign(refused.arguments);
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_THAT(result.err, HasSubstr(refused.message));
        EXPECT_TRUE(IsOneLineFailure(result.err)) << result.err;
        EXPECT_THAT(result.err, ::testing::Not(HasSubstr(kPin)));
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(ReadFile(Manifest()), kManifest);
        EXPECT_EQ(std::distance(boost::filesystem::directory_iterator(dir_ / "product"), {}), 2);
    }
    const ProcessResult vorn2 = RunSign({"--type", "vorn2", "--key", ecKey, Manifest().string()});
    EXPECT_EQ(vorn2.exitStatus, 1);
    EXPECT_THAT(vorn2.err, HasSubstr("--type vorn2 takes a GOST key file, not a pkcs11: URI"));
}

}  // namespace
}  // namespace integrity_check_tool::test
