#include <iterator>

#include <boost/algorithm/hex.hpp>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/sha.h>

#include "sign_tool.h"
#include "support/pki.h"
#include "support/process.h"
#include "support/temp_dir.h"
#include "support/tsa.h"

// Requests and replies come from stock `openssl ts`, and what the tool
// embeds is read back with stock openssl.

namespace integrity_check_tool::test {
namespace {

using ::testing::HasSubstr;

const std::string kContent = "<manifest>\r\n  <file path=\"bin/agent\"/>\n</manifest>\n";

/// SHA-256, hex, of the signer's signature value: the imprint of its tokens.
std::string Imprint(const std::string& file)
{
    const Blob value = pki::SignatureValue(pki::ToBlob(file));
    unsigned char digest[32];
    SHA256(value.data(), value.size(), digest);
    return boost::algorithm::hex_lower(std::string(std::begin(digest), std::end(digest)));
}

std::vector<std::string> EmbeddedTokens(const std::string& file)
{
    std::vector<std::string> tokens;
    for (const Blob& token : pki::EmbeddedTokens(pki::ToBlob(file))) {
        tokens.push_back(pki::ToText(token));
    }
    return tokens;
}

class TimestampTest : public ::testing::Test {
protected:
    TimestampTest()
    {
        Sign(file_);
        signed_ = ReadFile(file_);
    }

    /// Writes the content signed by the demo leaf to `path`.
    static void Sign(const Path& path)
    {
        WriteFile(path, kContent);
        const ProcessResult result = RunSign({"--type", "lum", "--key", Demo("regular/leaf.key"),
                                              "--cert", Demo("regular/leaf.pem"), "--chain",
                                              Demo("regular/inter.pem"), path.string()});
        ASSERT_EQ(result.exitStatus, 0) << result.err;
    }

    /// Writes the request for `file` to `query`.
    static void Query(const Path& file, const Path& query)
    {
        const ProcessResult result = RunSign({"--tsa-query", query.string(), file.string()});
        ASSERT_EQ(result.exitStatus, 0) << result.err;
        ASSERT_EQ(result.out, "SUCCEEDED\n");
    }

    /// The demo TSA's reply to `query`, written to `reply`.
    void Reply(const Path& query, const Path& reply) const
    {
        const ProcessResult result = tsa_.Reply(query, reply);
        ASSERT_EQ(result.exitStatus, 0) << result.err;
    }

    /// Expects `file` to be the signed content with `token` its one
    /// time-stamp token, and stock openssl to accept both.
    void ExpectStamped(const Path& file, const std::string& token) const
    {
        const std::string bytes = ReadFile(file);
        ASSERT_TRUE(bytes.starts_with(kContent));
        EXPECT_TRUE(bytes.ends_with(std::string("\0LUMSIG\1", 8)));
        EXPECT_EQ(EmbeddedTokens(bytes), std::vector<std::string>{token});
        EXPECT_EQ(pki::SignatureValue(pki::ToBlob(bytes)),
                  pki::SignatureValue(pki::ToBlob(signed_)))
            << "the signature is kept";

        const Path der = scratch_ / "embedded.der";
        WriteFile(der, pki::ToText(pki::SignatureDer(pki::ToBlob(bytes))));
        WriteFile(scratch_ / "content", kContent);
        const ProcessResult verified =
            RunOpenSsl({"cms", "-verify", "-binary", "-inform", "DER", "-in", der.string(),
                        "-content", (scratch_ / "content").string(), "-CAfile",
                        Demo("regular/root.pem"), "-purpose", "any", "-out", "/dev/null"});
        EXPECT_EQ(verified.exitStatus, 0) << verified.err;

        const Path embedded = scratch_ / "embedded.tst";
        WriteFile(embedded, EmbeddedTokens(bytes).at(0));
        const ProcessResult stamped =
            RunOpenSsl({"ts", "-verify", "-in", embedded.string(), "-token_in", "-digest",
                        Imprint(bytes), "-CAfile", Demo("regular/tsa-root.pem")});
        EXPECT_THAT(stamped.out, HasSubstr("Verification: OK")) << stamped.err;
    }

    /// Expects the tool to refuse `arguments` with `message`, leaving the
    /// signed file as it was and writing nothing beside it.
    void ExpectRefused(const Arguments& arguments, const std::string& message) const
    {
        SCOPED_TRACE(message);
        const ProcessResult result = RunSign(arguments);
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_THAT(result.err, HasSubstr(message));
        EXPECT_TRUE(result.err.ends_with("FAILED\n")) << result.err;
        EXPECT_EQ(ReadFile(file_), signed_);
        EXPECT_EQ(std::distance(boost::filesystem::directory_iterator(dir_.path()), {}), 1)
            << "only the signed file";
        // One wrongly written output must not fail the cases after it.
        for (auto& entry : boost::filesystem::directory_iterator(dir_.path())) {
            if (entry.path() != file_) {
                boost::filesystem::remove_all(entry.path());
            }
        }
    }

    TempDir dir_;      ///< the signed file alone
    TempDir scratch_;  ///< requests, replies and openssl's files
    Path file_ = dir_ / "manifest.xml";
    std::string signed_;
    tsa::OpenSslTsa tsa_{scratch_.path(), Demo("regular/tsa.pem"), Demo("regular/tsa.key")};
};

TEST_F(TimestampTest, QueryIsTheOneOpensslTsWouldWrite)
{
    const Path query = scratch_ / "query.tsq";
    Query(file_, query);
    EXPECT_EQ(ReadFile(file_), signed_);
    const ProcessResult text = RunOpenSsl({"ts", "-query", "-in", query.string(), "-text"});
    ASSERT_EQ(text.exitStatus, 0) << text.err;
    for (const char* line : {"Version: 1", "Hash Algorithm: sha256", "Policy OID: unspecified",
                             "Nonce: 0x", "Certificate required: yes"}) {
        EXPECT_THAT(text.out, HasSubstr(line));
    }

    const Path again = scratch_ / "again.tsq";
    Query(file_, again);
    EXPECT_NE(ReadFile(again), ReadFile(query)) << "a fresh nonce every time";
}

TEST_F(TimestampTest, ReplyOfStockOpensslIsEmbeddedAndReplaced)
{
    const Path query = scratch_ / "query.tsq";
    const Path reply = scratch_ / "reply.tsr";
    const Path token = scratch_ / "token.tst";
    const Path output = dir_ / "stamped.xml";
    Query(file_, query);
    Reply(query, reply);
    const ProcessResult embedded =
        RunSign({"--tsa-reply", reply.string(), "--tsa-query", query.string(), "--output",
                 output.string(), file_.string()});
    ASSERT_EQ(embedded.exitStatus, 0) << embedded.err;
    EXPECT_EQ(embedded.out, "SUCCEEDED\n");
    EXPECT_EQ(ReadFile(file_), signed_) << "--output leaves FILE alone";
    ASSERT_EQ(tsa::ExtractToken(reply, token).exitStatus, 0);
    const std::string first = ReadFile(token);
    ExpectStamped(output, first);
    const ProcessResult matched =
        RunOpenSsl({"ts", "-verify", "-in", token.string(), "-token_in", "-queryfile",
                    query.string(), "-CAfile", Demo("regular/tsa-root.pem")});
    EXPECT_THAT(matched.out, HasSubstr("Verification: OK")) << matched.err;

    // A second token replaces the first, in place and without the request.
    const Path second = scratch_ / "second.tsr";
    Query(output, query);
    Reply(query, second);
    const ProcessResult replaced = RunSign({"--tsa-reply", second.string(), output.string()});
    ASSERT_EQ(replaced.exitStatus, 0) << replaced.err;
    ASSERT_EQ(tsa::ExtractToken(second, token).exitStatus, 0);
    EXPECT_NE(ReadFile(token), first);
    ExpectStamped(output, ReadFile(token));
}

TEST_F(TimestampTest, UrlAsksTheAuthorityOverHttp)
{
    const TempDir serverDir;
    const tsa::TsaServer server(tsa_, serverDir.path());
    const ProcessResult stamped = RunSign({"--tsa-url", server.Url(), file_.string()});
    ASSERT_EQ(stamped.exitStatus, 0) << stamped.err;
    EXPECT_EQ(stamped.out, "SUCCEEDED\n");
    const std::vector<std::string> tokens = EmbeddedTokens(ReadFile(file_));
    ASSERT_EQ(tokens.size(), 1u);
    ExpectStamped(file_, tokens[0]);
    signed_ = ReadFile(file_);

    const int port = FreeLoopbackPort();
    ASSERT_NE(port, 0);
    const std::string closed = "http://127.0.0.1:" + std::to_string(port) + "/";

    ExpectRefused({"--tsa-url", closed, file_.string()},
                  "Can't reach time-stamping authority " + closed + ": ");
    ExpectRefused({"--tsa-url", server.Url("/status/500"), file_.string()},
                  "answered with HTTP status 500");
    ExpectRefused({"--tsa-url", server.Url("/wrong-type"), file_.string()},
                  "answered with Content-Type \"text/plain\"");
    ExpectRefused({"--tsa-url", server.Url("/empty"), file_.string()}, "sent an empty reply");
    ExpectRefused({"--tsa-url", server.Url("/huge"), file_.string()},
                  "sent a reply larger than 1048576 bytes");
}

// Every refusal names its reason, fails, and leaves the signed file as it
// was. Replies of TSAs the checker distrusts are refused in its end-to-end
// time-stamp tests, which embed them anyway.
TEST_F(TimestampTest, RefusalsNameTheProblemAndChangeNothing)
{
    const auto path = [this](const char* name) { return (scratch_ / name).string(); };
    const std::string file = file_.string();
    const std::string output = (dir_ / "out.xml").string();

    // The file's request and the demo TSA's reply, and a second request for
    // the same signature.
    Query(file_, path("query.tsq"));
    Reply(path("query.tsq"), path("reply.tsr"));
    const std::string reply = ReadFile(path("reply.tsr"));
    Query(file_, path("again.tsq"));

    // A request without nonce for the same imprint.
    ASSERT_EQ(RunOpenSsl({"ts", "-query", "-digest", Imprint(signed_), "-sha256", "-no_nonce",
                          "-cert", "-out", path("no-nonce.tsq")})
                  .exitStatus,
              0);
    Reply(path("no-nonce.tsq"), path("no-nonce.tsr"));
    // One that does not ask for the TSA's certificate.
    ASSERT_EQ(RunOpenSsl({"ts", "-query", "-digest", Imprint(signed_), "-sha256", "-out",
                          path("no-cert.tsq")})
                  .exitStatus,
              0);
    Reply(path("no-cert.tsq"), path("no-cert.tsr"));

    // A TSA that takes SHA-512 imprints only rejects ours.
    const TempDir pickyDir;
    ASSERT_EQ(
        tsa::OpenSslTsa(pickyDir.path(), Demo("regular/tsa.pem"), Demo("regular/tsa.key"), "sha512")
            .Reply(path("query.tsq"), path("rejected.tsr"))
            .exitStatus,
        0);

    // The last byte of the reply is the last of the token's signature.
    std::string forged = reply;
    forged.back() = static_cast<char>(forged.back() ^ 0x01);
    WriteFile(path("forged.tsr"), forged);
    WriteFile(path("garbage.tsr"), "not a reply");

    // Files no token can go into.
    WriteFile(path("unsigned.xml"), kContent);
    const ProcessResult vorn2 = RunSign({"--type", "vorn2", "--key", Demo("regular/gost256.key"),
                                         "--output", path("vorn2.xml"), path("unsigned.xml")});
    ASSERT_EQ(vorn2.exitStatus, 0) << vorn2.err;

    const auto embed = [&](const char* replyName, const Arguments& extra = {}) {
        Arguments arguments = {"--tsa-reply", path(replyName), "--output", output};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        arguments.push_back(file);
        return arguments;
    };
    const struct {
        std::string message;
        Arguments arguments;
    } cases[] = {
        {"does not answer request " + path("again.tsq") + ": its nonce differs",
         embed("reply.tsr", {"--tsa-query", path("again.tsq")})},
        {"carries no nonce", embed("no-nonce.tsr", {"--tsa-query", path("query.tsq")})},
        {"does not carry the TSA certificate", embed("no-cert.tsr")},
        {"is not granted: status rejection (2): Message digest algorithm is not supported.",
         embed("rejected.tsr")},
        {"Time-stamp token of " + path("forged.tsr") + " does not verify", embed("forged.tsr")},
        {"Can't read time-stamp reply " + path("garbage.tsr"), embed("garbage.tsr")},
        {path("unsigned.xml") + " has no lum signature",
         {"--tsa-query", output, path("unsigned.xml")}},
        {path("vorn2.xml") + " has a vorn2 signature; only lum signatures",
         {"--tsa-query", output, path("vorn2.xml")}},
        // The command line of the three modes.
        {"Option --tsa-query can't be used with --tsa-url",
         {"--tsa-url", "http://127.0.0.1:9/", "--tsa-query", path("query.tsq"), file}},
        {"Give exactly one signed FILE", {"--tsa-query", path("new.tsq")}},
    };
    for (const auto& refused : cases) {
        ExpectRefused(refused.arguments, refused.message);
    }
    EXPECT_FALSE(boost::filesystem::exists(path("new.tsq")));
    EXPECT_EQ(ReadFile(path("unsigned.xml")), kContent);
}

}  // namespace
}  // namespace integrity_check_tool::test
