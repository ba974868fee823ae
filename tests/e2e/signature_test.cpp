// Signed manifests end to end: integrity_sign (or stock openssl) signs,
// the checker and the tester verify against their compiled-in demo roots.

#include <openssl/x509.h>

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>
#include <lum/format.h>

#include "program.h"
#include "support/pki.h"
#include "support/temp_dir.h"

namespace integrity_check_tool::test {
namespace {

constexpr const char* kSummaryOk = "\tManifests: 0 / 0 / 1\n\tFiles: 0 / 0 / 1\n";

/// The demo hierarchy of one set, loaded from the repository.
pki::Hierarchy DemoHierarchy(const std::string& set)
{
    const auto key = [&](const std::string& name) { return pki::Key::FromPem(ReadFile(DemoPki(set + "/" + name))); };
    const auto cert = [&](const std::string& name) {
        return pki::Certificate::FromPem(ReadFile(DemoPki(set + "/" + name)));
    };
    return pki::Hierarchy{key("root.key"), cert("root.pem"), key("inter.key"), cert("inter.pem"),
                          key("leaf.key"), cert("leaf.pem")};
}

/// The serial number in hexadecimal, as integrity_sign --revoke takes it.
std::string SerialHex(const pki::Certificate& certificate)
{
    const ASN1_INTEGER* serial = X509_get0_serialNumber(certificate.get());
    std::string hex;
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (int i = 0; i < serial->length; ++i) {
        hex += kDigits[serial->data[i] >> 4];
        hex += kDigits[serial->data[i] & 0xF];
    }
    return hex;
}

std::string Text(const Blob& bytes) { return std::string(bytes.begin(), bytes.end()); }

class SignatureTest : public ::testing::Test {
protected:
    SignatureTest()
    {
        WriteFile(dir_ / "product/agent", "x");
        WriteFile(Manifest(), "<Manifest productName=\"Demo\" productVersion=\"1.0\">"
                              "<File path=\"%ProductRoot%/agent\"><Check type=\"Value\" value=\"eA==\"/></File>"
                              "</Manifest>\n");
        content_ = ReadFile(Manifest());
    }

    Path Manifest() const { return dir_ / "product/integrity_check.xml"; }

    ProcessResult Sign(const std::string& type, const std::string& set, const Path& file,
                       const std::vector<std::string>& extra = {}) const
    {
        std::vector<std::string> arguments{"--type", type, "--key", DemoPki(set + "/leaf.key"), "--cert",
                                           DemoPki(set + "/leaf.pem"), "--chain", DemoPki(set + "/inter.pem")};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        arguments.push_back(file.string());
        return RunProgram(Program::Sign, arguments);
    }

    void SignManifest(const std::string& type = "lum", const std::string& set = "regular") const
    {
        const ProcessResult signing = Sign(type, set, Manifest());
        ASSERT_EQ(signing.exitStatus, 0) << signing.err;
    }

    ProcessResult Check(const Path& file, const std::vector<std::string>& extra = {},
                        Program program = Program::Checker) const
    {
        std::vector<std::string> arguments{file.string()};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        return RunProgram(program, arguments);
    }

    /// A failed check: exit status 1 and the flags of the signature error.
    static std::string FailedFlags(const ProcessResult& result, const Path& file)
    {
        EXPECT_EQ(result.exitStatus, 1) << result.out;
        const std::string prefix = "Can't verify LUM signature of file " + file.string() + ". Flags: ";
        const std::size_t at = result.err.find(prefix);
        if (at == std::string::npos) {
            ADD_FAILURE() << result.err;
            return {};
        }
        const std::size_t begin = at + prefix.size();
        return result.err.substr(begin, result.err.find('\n', begin) - begin);
    }

    static bool Has(const std::string& flags, const std::string& name)
    {
        return ("|" + flags + "|").find("|" + name + "|") != std::string::npos;
    }

    /// Writes `bytes` as the revocation container of a fresh CRL directory.
    Path CrlDirectory(const std::string& name, const Blob& bytes) const
    {
        const Path directory = dir_ / name;
        WriteFile(directory / crypto::lum::kContainerName, Text(bytes));
        return directory;
    }

    TempDir dir_;
    std::string content_;
};

TEST_F(SignatureTest, SignedManifestVerifiesAgainstItsOwnRootSetOnly)
{
    SignManifest();
    const ProcessResult checked = Check(Manifest());
    EXPECT_EQ(checked.exitStatus, 0) << checked.err;
    EXPECT_NE(checked.out.find(kSummaryOk), std::string::npos) << checked.out;
    EXPECT_TRUE(checked.out.ends_with("SUCCEEDED\n"));

    // The tester trusts the alternative roots: the regular chain is incomplete there.
    EXPECT_TRUE(Has(FailedFlags(Check(Manifest(), {}, Program::Tester), Manifest()), "IncompleteChain"));

    const Path other = dir_ / "product/alternative.xml";
    WriteFile(other, content_);
    ASSERT_EQ(Sign("lum", "alternative", other).exitStatus, 0);
    EXPECT_EQ(Check(other, {}, Program::Tester).exitStatus, 0);
    EXPECT_TRUE(Has(FailedFlags(Check(other), other), "IncompleteChain"));
}

TEST_F(SignatureTest, AnyChangedByteFails)
{
    SignManifest();
    const std::string signedFile = ReadFile(Manifest());
    const std::size_t derStart = content_.size();
    const std::size_t trailerStart = signedFile.size() - crypto::lum::kTrailerSize;
    // Content, the CMS near its start and end, the length and the magic.
    for (const std::size_t offset : {std::size_t{0}, content_.size() / 2, derStart + 3, derStart + 80,
                                     trailerStart - 5, trailerStart + 3, signedFile.size() - 1}) {
        std::string tampered = signedFile;
        tampered[offset] = static_cast<char>(tampered[offset] ^ 0x01);
        WriteFile(Manifest(), tampered);
        const ProcessResult result = Check(Manifest());
        EXPECT_EQ(result.exitStatus, 1) << "byte " << offset;
        EXPECT_NE(result.err.find("Can't verify LUM signature of file"), std::string::npos)
            << "byte " << offset << ": " << result.err;
    }
}

TEST_F(SignatureTest, MalformedSignaturesAreRefusedCleanly)
{
    SignManifest();
    const std::string signedFile = ReadFile(Manifest());
    const std::string magic(reinterpret_cast<const char*>(crypto::lum::kSignatureMagic.data()),
                            crypto::lum::kSignatureMagic.size());
    const std::vector<std::pair<std::string, std::string>> cases{
        {"unsigned", content_},
        {"empty", ""},
        {"trailer only", std::string("\0\0\0\x10", 4) + magic},
        {"length beyond the file", content_ + std::string("\xFF\xFF\xFF\xF0", 4) + magic},
        {"truncated trailer", signedFile.substr(0, signedFile.size() - 1)},
        {"cut inside the CMS", signedFile.substr(0, content_.size() + 40) + signedFile.substr(signedFile.size() - 12)},
        {"bytes after the signature", signedFile + "\x01garbage"},
    };
    for (const auto& [name, bytes] : cases) {
        WriteFile(Manifest(), bytes);
        const ProcessResult result = Check(Manifest());
        EXPECT_EQ(FailedFlags(result, Manifest()), "MalformedContent") << name;
        EXPECT_EQ(result.err.find("AddressSanitizer"), std::string::npos) << name;
    }
}

TEST_F(SignatureTest, CertificateProblemsNameTheirFlags)
{
    const pki::Hierarchy demo = DemoHierarchy("regular");
    struct Case {
        const char* name;
        int notBefore;
        int notAfter;
        const char* extendedKeyUsage;
        const char* flag;
    };
    for (const Case& c : {Case{"expired", -30, -1, "codeSigning", "Expired"},
                          Case{"not yet valid", 2, 30, "codeSigning", "Expired"},
                          Case{"no code signing", -1, 30, "serverAuth", "InvalidPurpose"}}) {
        pki::CertificateOptions options = pki::LeafOptions(c.name, 7000);
        options.notBeforeDays = c.notBefore;
        options.notAfterDays = c.notAfter;
        options.extendedKeyUsage = c.extendedKeyUsage;
        const pki::Key key = pki::Key::Generate();
        const pki::Certificate leaf = demo.IssueLeaf(options, key);
        WriteFile(Manifest(), Text(pki::SignLum(pki::ToBlob(content_), leaf, key, {demo.intermediate})));
        EXPECT_TRUE(Has(FailedFlags(Check(Manifest()), Manifest()), c.flag)) << c.name;
    }
}

TEST_F(SignatureTest, RevokedLeafOrIntermediateFails)
{
    SignManifest();
    const pki::Hierarchy demo = DemoHierarchy("regular");
    const auto container = [&](const std::string& name, const std::vector<std::string>& revoke) {
        const Path crl = dir_ / (name + ".crl");
        std::vector<std::string> arguments{"--make-crl", "--ca-cert", DemoPki("regular/root.pem"), "--ca-key",
                                           DemoPki("regular/root.key"), "--output", crl.string()};
        for (const std::string& serial : revoke) {
            arguments.insert(arguments.end(), {"--revoke", serial});
        }
        EXPECT_EQ(RunProgram(Program::Sign, arguments).exitStatus, 0);
        const Path directory = dir_ / name;
        boost::filesystem::create_directories(directory);
        const ProcessResult made =
            RunProgram(Program::Sign, {"--make-container", "--root", DemoPki("regular/root.pem"), "--output",
                                       (directory / crypto::lum::kContainerName).string(), crl.string()});
        EXPECT_EQ(made.exitStatus, 0) << made.err;
        return directory.string();
    };

    const ProcessResult unrelated = Check(Manifest(), {"--crl", container("unrelated", {"0123456789"})});
    EXPECT_EQ(unrelated.exitStatus, 0) << unrelated.err;
    for (const pki::Certificate* revoked : {&demo.leaf, &demo.intermediate}) {
        const std::string serial = SerialHex(*revoked);
        EXPECT_TRUE(Has(FailedFlags(Check(Manifest(), {"--crl", container(serial, {"0123", serial})}), Manifest()),
                        "Revoked"))
            << serial;
    }
}

TEST_F(SignatureTest, BadRevocationContainersStopTheCheck)
{
    SignManifest();
    const pki::Hierarchy demo = DemoHierarchy("regular");
    const pki::Hierarchy alternative = DemoHierarchy("alternative");
    const pki::Certificate root2 = pki::Certificate::FromPem(ReadFile(DemoPki("alternative/root2.pem")));
    const pki::Key root2Key = pki::Key::FromPem(ReadFile(DemoPki("alternative/root2.key")));
    const crypto::lum::RevocationDatabase good{demo.HierarchyId(), demo.Crl({})};
    // A CRL in the root's name signed by another key.
    const crypto::lum::RevocationDatabase forged{demo.HierarchyId(),
                                                 pki::MakeCrl(demo.root, alternative.rootKey, {})};
    const crypto::lum::RevocationDatabase alternativeOnly{alternative.HierarchyId(), alternative.Crl({})};

    struct Case {
        const char* name;
        std::vector<crypto::lum::RevocationDatabase> databases;
        Program program;
        const char* trace;
    };
    for (const Case& c : {Case{"duplicate", {good, good}, Program::Checker, "lumErrRdbAlreadyExists"},
                          Case{"forged", {forged}, Program::Checker, "Failed to verify signature of revocation database."},
                          Case{"absent", {alternativeOnly}, Program::Tester, "lumErrRdbAbsent"}}) {
        const Path directory = CrlDirectory(c.name, crypto::lum::BuildContainer(c.databases));
        const ProcessResult result = Check(Manifest(), {"--crl", directory.string()}, c.program);
        EXPECT_EQ(result.exitStatus, 1) << c.name;
        EXPECT_NE(result.err.find("Can't create LUM verifier"), std::string::npos) << c.name << result.err;
        EXPECT_NE(result.out.find(c.trace), std::string::npos) << c.name << result.out;
    }
    // Both alternative roots covered: the tester accepts an alternative signature.
    const Path alternativeManifest = dir_ / "product/alternative.xml";
    WriteFile(alternativeManifest, content_);
    ASSERT_EQ(Sign("lum", "alternative", alternativeManifest).exitStatus, 0);
    pki::Hierarchy second = alternative;
    second.root = root2;
    second.rootKey = root2Key;
    const Path both = CrlDirectory("both", crypto::lum::BuildContainer({alternativeOnly, {second.HierarchyId(), second.Crl({})}}));
    const ProcessResult accepted = Check(alternativeManifest, {"--crl", both.string()}, Program::Tester);
    EXPECT_EQ(accepted.exitStatus, 0) << accepted.err;

    WriteFile(dir_ / "not-a-directory", "x");
    const ProcessResult file = Check(Manifest(), {"--crl", (dir_ / "not-a-directory").string()});
    EXPECT_EQ(file.exitStatus, 1);
    EXPECT_NE(file.err.find("CRL storage path " + (dir_ / "not-a-directory").string() + " is not a directory"),
              std::string::npos)
        << file.err;
}

TEST_F(SignatureTest, FileNameBindingFollowsTheSignatureType)
{
    SignManifest("lum-with-filename");
    EXPECT_EQ(Check(Manifest(), {"--signature-type", "lum-with-filename"}).exitStatus, 0);
    const Path renamed = dir_ / "product/renamed.xml";
    boost::filesystem::copy_file(Manifest(), renamed);
    const ProcessResult bound = Check(renamed, {"--signature-type", "lum-with-filename"});
    EXPECT_EQ(bound.exitStatus, 1);
    EXPECT_NE(bound.err.find("Can't verify LUM signature of file " + renamed.string()), std::string::npos);
    EXPECT_EQ(Check(renamed, {"--signature-type", "lum"}).exitStatus, 0);

    // A plain "lum" signature carries no name, so the binding refuses it.
    ASSERT_EQ(Sign("lum", "regular", Manifest(), {"--replace"}).exitStatus, 0);
    EXPECT_EQ(Check(Manifest(), {"--signature-type", "lum-with-filename"}).exitStatus, 1);
}

TEST_F(SignatureTest, StockOpenSslSignatureWithAppendedTrailerVerifies)
{
    const Path der = dir_ / "signature.der";
    const ProcessResult signing = RunHostProcess(
        {"openssl", "cms", "-sign", "-binary", "-in", Manifest().string(), "-signer", DemoPki("regular/leaf.pem"),
         "-inkey", DemoPki("regular/leaf.key"), "-certfile", DemoPki("regular/inter.pem"), "-md", "sha256",
         "-outform", "DER", "-out", der.string()});
    ASSERT_EQ(signing.exitStatus, 0) << signing.err;
    const std::string signature = ReadFile(der);
    const auto trailer = crypto::lum::MakeTrailer(static_cast<std::uint32_t>(signature.size()));
    WriteFile(Manifest(), content_ + signature + std::string(trailer.begin(), trailer.end()));
    const ProcessResult checked = Check(Manifest());
    EXPECT_EQ(checked.exitStatus, 0) << checked.err;
}

}  // namespace
}  // namespace integrity_check_tool::test
