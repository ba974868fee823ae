// Time-stamped signatures end to end: stock `openssl ts` is the time-stamping
// authority, integrity_sign asks and embeds, and the checker runs at other
// times under faketime.

#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "program.h"
#include "support/pki.h"
#include "support/tsa.h"

namespace integrity_check_tool::test {
namespace {

using ::testing::HasSubstr;

class TimestampTest : public SignedProductTest {
protected:
    void SetUp() override
    {
        if (!HasFaketime()) {
            GTEST_SKIP() << "faketime is not installed";
        }
    }

    Path Temp(const std::string& name) const { return dir_ / name; }

    /// Runs a host command in the test directory and expects it to succeed.
    void Host(const std::vector<std::string>& command) const
    {
        const ProcessResult result = RunHostProcess(command, dir_.path().string());
        ASSERT_EQ(result.exitStatus, 0) << command.front() << ": " << result.err;
    }

    /// Signs `file` in place with the demo intermediate and `leaf`/`key`.
    void Sign(const Path& file, const std::string& leaf, const std::string& key,
              const std::string& type = "lum") const
    {
        ASSERT_TRUE(Succeeded(
            RunProgram(Program::Sign, {"--type", type, "--key", key, "--cert", leaf, "--chain",
                                       DemoPki("regular/inter.pem"), file.string()})));
    }

    /// The stock-OpenSSL request for `file`'s signature value.
    Path StockQuery(const Path& file, const std::string& name) const
    {
        WriteFile(Temp(name + ".sig"),
                  pki::ToText(pki::SignatureValue(pki::ToBlob(ReadFile(file)))));
        Host({"openssl", "ts", "-query", "-data", name + ".sig", "-sha256", "-cert", "-out",
              name + ".tsq"});
        return Temp(name + ".tsq");
    }

    /// The reply to `query` made `days` from now by the regular demo TSA or,
    /// when named, by the TSA of `authority`.pem and .key in the test directory.
    Path Reply(const Path& query, int days = 0, const std::string& authority = {}) const
    {
        const std::string signer =
            authority.empty() ? DemoPki("regular/tsa") : Temp(authority).string();
        const Path reply = query.string() + authority +
                           (days != 0 ? "+" + std::to_string(days) : std::string()) + ".tsr";
        Host(At(days, tsa::OpenSslTsa(dir_.path(), signer + ".pem", signer + ".key")
                          .ReplyCommand(query, reply)));
        return reply;
    }

    /// The token of a reply.
    std::string Token(const Path& reply) const
    {
        const Path token = reply.string() + ".tok";
        EXPECT_EQ(tsa::ExtractToken(reply, token).exitStatus, 0);
        return ReadFile(token);
    }

    /// `file` with `token` embedded as it stands, however bad.
    void Embed(const Path& file, const std::string& token) const
    {
        WriteFile(file,
                  pki::ToText(pki::EmbedToken(pki::ToBlob(ReadFile(file)), pki::ToBlob(token))));
    }

    /// Asks the demo TSA through integrity_sign and embeds its answer.
    void Stamp(const Path& file) const
    {
        const Path query = file.string() + ".tsq";
        ASSERT_TRUE(
            Succeeded(RunProgram(Program::Sign, {"--tsa-query", query.string(), file.string()})));
        const Path reply = Reply(query);
        ASSERT_TRUE(
            Succeeded(RunProgram(Program::Sign, {"--tsa-reply", reply.string(), "--tsa-query",
                                                 query.string(), file.string()})));
    }

    /// name.pem and name.key in the test directory: a certificate with
    /// `options` for a new key, issued by the .pem and .key of `issuer`
    /// (self-signed when empty).
    void Issue(const std::string& name, const std::string& issuer,
               pki::CertificateOptions options) const
    {
        options.commonName = name;
        const pki::Key key = pki::Key::Generate();
        pki::Certificate certificate;
        if (issuer.empty()) {
            certificate = pki::IssueCertificate(options, key, nullptr, key);
        } else {
            const auto issuerCertificate = pki::Certificate::FromPem(ReadFile(issuer + ".pem"));
            certificate = pki::IssueCertificate(options, key, &issuerCertificate,
                                                pki::Key::FromPem(ReadFile(issuer + ".key")));
        }
        WriteFile(Temp(name + ".pem"), certificate.ToPem());
        WriteFile(Temp(name + ".key"), key.ToPem());
    }

    ProcessResult Check(const Path& file, int days = 0, std::vector<std::string> extra = {}) const
    {
        extra.push_back(file.string());
        return RunProgram(Program::Checker, extra, {}, At(days));
    }
};

TEST_F(TimestampTest, TokenKeepsTheManifestValidAfterTheLeafExpires)
{
    // A leaf that lives two days, as the demo intermediate issues it.
    pki::CertificateOptions shortLived = pki::LeafOptions("short", 4200);
    shortLived.notAfterDays = 2;
    Issue("short", DemoPki("regular/inter"), shortLived);
    const Path stamped = dir_ / "product/stamped.xml";
    WriteFile(stamped, content_);
    Sign(Manifest(), Temp("short.pem").string(), Temp("short.key").string());
    Sign(stamped, Temp("short.pem").string(), Temp("short.key").string(), "lum-with-filename");
    Stamp(stamped);

    EXPECT_TRUE(Succeeded(Check(Manifest()), kSummaryOk));
    EXPECT_TRUE(Succeeded(Check(stamped), kSummaryOk));
    // Three years on: only the time-stamped manifest still verifies.
    EXPECT_EQ(Flags(Check(Manifest(), 1095), Manifest()),
              "|Signed|RevocationCheckSkipped|Expired|");
    EXPECT_TRUE(Succeeded(Check(stamped, 1095), kSummaryOk));
    // The report tells the token's time, and the signer that has expired since.
    const Path report = Temp("report.jsonl");
    EXPECT_TRUE(
        Succeeded(RunProgram(Program::Checker, {stamped.string()}, {},
                             At(1095, {"env", "INTEGRITY_CHECK_REPORT=" + report.string()}))));
    EXPECT_THAT(ReadFile(report),
                ::testing::ContainsRegex(
                    R"("signature_type":"lum","result":"verified",)"
                    R"("flags":\["Signed","Trusted","Embedded","RevocationCheckSkipped",)"
                    R"("CounterSignatureUsed"\],"signer":\{"subject":"[^"]+",)"
                    R"("serial":"[0-9A-F]+","not_after":"20[0-9-]+T[0-9:]+Z"\},)"
                    R"("timestamp":"20[0-9-]+T[0-9:]+Z"\})"));
    // The token itself is still checked: a bit changed in it refuses the manifest.
    std::string tampered = ReadFile(stamped);
    const std::string token = Token(Temp("product/stamped.xml.tsq.tsr"));
    const std::size_t at = tampered.find(token);
    ASSERT_NE(at, std::string::npos) << "the embedded token is the TSA's, byte for byte";
    tampered[at + token.size() - 1] = static_cast<char>(tampered[at + token.size() - 1] ^ 0x01);
    WriteFile(stamped, tampered);
    // And the chain is then checked now, not at the token's time.
    EXPECT_EQ(Flags(Check(stamped, 1095), stamped),
              "|Signed|RevocationCheckSkipped|SignatureValueNotMatched|Expired|");
}

TEST_F(TimestampTest, TokensThatDoNotHoldRefuseTheManifest)
{
    const std::string root = DemoPki("regular/tsa-root");
    const pki::CertificateOptions tsa{.serial = 4201, .extendedKeyUsage = "critical,timeStamping"};
    pki::CertificateOptions sha1 = tsa;
    sha1.digest = "SHA1";
    Issue("foreign-root", "",
          {.basicConstraints = "critical,CA:TRUE",
           .keyUsage = "critical,keyCertSign,cRLSign",
           .extendedKeyUsage = ""});
    Issue("foreign", Temp("foreign-root").string(), tsa);
    Issue("no-usage", root, pki::LeafOptions("", 4202));
    Issue("loose", root, {.serial = 4203, .extendedKeyUsage = "timeStamping"});
    Issue("sha1", root, sha1);
    Sign(Manifest(), DemoPki("regular/leaf.pem"), DemoPki("regular/leaf.key"));
    const std::string signedFile = ReadFile(Manifest());
    const Path query = StockQuery(Manifest(), "good");
    const Path goodReply = Reply(query);
    const std::string good = Token(goodReply);
    // The TSA's own signature over a SHA-1 digest of its signed attributes.
    std::vector<std::string> sha1Reply =
        tsa::OpenSslTsa(dir_.path(), DemoPki("regular/tsa.pem"), DemoPki("regular/tsa.key"))
            .ReplyCommand(query, Temp("sha1-digest.tsr"));
    sha1Reply.push_back("-sha1");
    Host(sha1Reply);

    // Tokens of certificates without the critical timeStamping usage: stock
    // openssl cms re-signs the good token's TSTInfo.
    Host({"openssl", "cms", "-verify", "-noverify", "-inform", "DER", "-in",
          goodReply.string() + ".tok", "-out", "tstinfo.der"});
    const auto resigned = [&](const std::string& signer) {
        Host({"openssl",     "cms",           "-sign",  "-binary",        "-nodetach",
              "-nosmimecap", "-md",           "sha256", "-econtent_type", "id-smime-ct-TSTInfo",
              "-signer",     signer + ".pem", "-inkey", signer + ".key",  "-in",
              "tstinfo.der", "-outform",      "DER",    "-out",           signer + ".tok"});
        WriteFile(Temp(signer + ".tsr"), tsa::GrantedReply(ReadFile(Temp(signer + ".tok"))));
        return Temp(signer + ".tsr");
    };
    // The leaf of another manifest, valid only from the day after tomorrow.
    const pki::Hierarchy demo = pki::Hierarchy::Load(DemoPki("regular"));
    pki::CertificateOptions options = pki::LeafOptions("later", 4242);
    options.notBeforeDays = 2;
    const pki::Key laterKey = pki::Key::Generate();
    const std::string later = pki::ToText(pki::SignLum(
        pki::ToBlob(content_), demo.IssueLeaf(options, laterKey), laterKey, {demo.intermediate}));
    WriteFile(Temp("later.xml"), later);

    std::string other = content_ + "<!-- another manifest -->";
    WriteFile(Temp("other.xml"), other);
    Sign(Temp("other.xml"), DemoPki("regular/leaf.pem"), DemoPki("regular/leaf.key"));

    // integrity_sign refuses to embed each reply where it can tell (refusal,
    // writing nothing); embedded anyway, the checker refuses the manifest.
    const struct {
        const char* name;
        std::string file;
        Path reply;
        const char* flags;
        std::string refusal;
    } cases[] = {
        {"over another signature", signedFile, Reply(StockQuery(Temp("other.xml"), "o")),
         "|Signed|RevocationCheckSkipped|SignatureValueNotMatched|",
         "is not for the signature of " + Manifest().string()},
        {"from a TSA outside the trusted roots", signedFile, Reply(query, 0, "foreign"),
         "|Signed|RevocationCheckSkipped|IncompleteChain|",
         "\"CN=foreign\" does not chain to a trusted time-stamping root"},
        {"from a certificate without the timeStamping usage", signedFile, resigned("no-usage"),
         "|Signed|RevocationCheckSkipped|InvalidPurpose|",
         "\"CN=no-usage\" lacks the critical timeStamping"},
        {"from a certificate whose timeStamping usage is not critical", signedFile,
         resigned("loose"), "|Signed|RevocationCheckSkipped|InvalidPurpose|",
         "\"CN=loose\" lacks the critical timeStamping"},
        {"from a TSA certificate signed with SHA-1", signedFile, Reply(query, 0, "sha1"),
         "|Signed|RevocationCheckSkipped|InvalidCertificateSign|", ""},
        {"signed over a SHA-1 digest", signedFile, Temp("sha1-digest.tsr"),
         "|Signed|RevocationCheckSkipped|MalformedContent|", ""},
        {"dated in the future", signedFile, Reply(query, 2),
         "|Signed|RevocationCheckSkipped|Expired|", "in the future"},
        {"dated before the leaf's notBefore", later, Reply(StockQuery(Temp("later.xml"), "l")),
         "|Signed|RevocationCheckSkipped|Expired|", ""},
    };
    const Path refused = Temp("refused.xml");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        WriteFile(Manifest(), c.file);
        if (!c.refusal.empty()) {
            EXPECT_TRUE(
                Failed(RunProgram(Program::Sign, {"--tsa-reply", c.reply.string(), "--output",
                                                  refused.string(), Manifest().string()}),
                       c.refusal));
            EXPECT_FALSE(boost::filesystem::exists(refused));
            EXPECT_EQ(ReadFile(Manifest()), c.file);
        }
        Embed(Manifest(), Token(c.reply));
        EXPECT_EQ(Flags(Check(Manifest()), Manifest()), c.flags);
    }
    WriteFile(Manifest(), signedFile);
    Embed(Manifest(), std::string("\x30\x03\x02\x01\x01", 5));
    EXPECT_EQ(Flags(Check(Manifest()), Manifest()),
              "|Signed|RevocationCheckSkipped|MalformedContent|")
        << "not a token";
    // Two tokens are one too many, even when both are good.
    WriteFile(Manifest(), signedFile);
    Embed(Manifest(), good);
    EXPECT_TRUE(Succeeded(Check(Manifest()), kSummaryOk));
    Embed(Manifest(), good);
    EXPECT_EQ(Flags(Check(Manifest()), Manifest()),
              "|Signed|RevocationCheckSkipped|MalformedContent|");
}

TEST_F(TimestampTest, RevocationAppliesToSignerAndTsaWhateverTheTime)
{
    Sign(Manifest(), DemoPki("regular/leaf.pem"), DemoPki("regular/leaf.key"));
    const std::string signedFile = ReadFile(Manifest());
    Stamp(Manifest());
    // CRL directories still current at the latest time checked.
    const auto crls = [&](const char* name, const DemoRevocations& revoked) {
        return MakeDemoCrlDirectory(Temp(name), revoked, 0, "1200");
    };
    const std::string leaf = pki::Hierarchy::Load(DemoPki("regular")).leaf.SerialHex();
    const std::string tsa =
        pki::Certificate::FromPem(ReadFile(DemoPki("regular/tsa.pem"))).SerialHex();

    // TSA roots need no database; one they have applies to their TSAs.
    EXPECT_TRUE(Succeeded(Check(Manifest(), 0, {"--crl", crls("none", {{"root", {}}})})));
    EXPECT_TRUE(Succeeded(
        Check(Manifest(), 0, {"--crl", crls("clean", {{"root", {}}, {"tsa-root", {}}})})));
    EXPECT_EQ(
        Flags(Check(Manifest(), 0, {"--crl", crls("tsa", {{"root", {}}, {"tsa-root", {tsa}}})}),
              Manifest()),
        "|Signed|Revoked|");
    // A revoked signer stays revoked, token or not, now and later.
    const std::string revoked = crls("leaf", {{"root", {leaf}}});
    for (const int days : {0, 1095}) {
        EXPECT_THAT(Flags(Check(Manifest(), days, {"--crl", revoked}), Manifest()),
                    HasSubstr("|Revoked|"));
    }
    WriteFile(Manifest(), signedFile);
    EXPECT_EQ(Flags(Check(Manifest(), 0, {"--crl", revoked}), Manifest()), "|Signed|Revoked|");
}

}  // namespace
}  // namespace integrity_check_tool::test
