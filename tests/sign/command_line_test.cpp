#include "sign_tool.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

namespace integrity_check_tool::test {
namespace {

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST(SignCommandLineTest, HelpListsEveryForm)
{
    const ProcessResult result = RunSign({"--help"});
    EXPECT_EQ(result.exitStatus, 0);
    for (const char* form :
         {"integrity_sign --type lum|lum-with-filename|vorn2 --key KEY",
          "integrity_sign --make-crl --ca-cert", "integrity_sign --make-container --root",
          "integrity_sign --gen-key gost256|gost512 [--paramset A|B|C|D] --output KEY"}) {
        EXPECT_TRUE(Contains(result.out, form)) << form;
    }
    EXPECT_FALSE(Contains(result.out, "SUCCEEDED"));
    EXPECT_EQ(result.err, "");
}

TEST(SignCommandLineTest, UsageErrorsNameTheProblem)
{
    TempDir dir;
    const std::string file = (dir / "manifest.xml").string();
    WriteFile(file, "<manifest/>");
    const std::string key = Demo("regular/leaf.key");
    const std::string cert = Demo("regular/leaf.pem");
    const struct {
        std::vector<std::string> arguments;
        std::string message;
    } cases[] = {
        {{}, "Nothing to do"},
        {{"--bogus"}, "unrecognised option '--bogus'"},
        {{"--type", "lum", "--key", key, "--cert", cert}, "Give exactly one FILE"},
        {{"--type", "lum", "--key", key, file}, "Option --cert is required with --type"},
        {{"--type", "rsa", "--key", key, file}, "Unknown signature type: rsa"},
        {{"--type", "lum", "--key", key, "--cert", cert, "--digest", "md5", file},
         "Unknown digest: md5"},
        {{"--type", "lum", "--make-crl"}, "Give only one of"},
        {{"--type", "lum", "--key", key, "--cert", cert, "--revoke", "01", file},
         "Option --revoke can't be used with --type"},
        {{"--make-crl", "--ca-cert", cert, "--ca-key", key, "--days", "0", "--output", file},
         "Invalid number of days: 0"},
        {{"--make-container", "--root", cert, "--output", file}, "Give at least one CRL"},
        {{"--type", "vorn2", "--key", key, "--cert", cert, file},
         "Option --cert can't be used with --type vorn2"},
        {{"--type", "vorn2", "--key", key, "--digest", "sha256", file},
         "Option --digest can't be used with --type vorn2"},
        {{"--gen-key", "rsa", "--output", file}, "Unknown key type: rsa"},
        {{"--gen-key", "gost256", "--output", file, "--pubout", file},
         "--pubout must name another file"},
        {{"--gen-key", "gost256", "--output", file, "--key", key},
         "Option --key can't be used with --gen-key"},
        {{"--gen-key", "gost256", "--output", file, file}, "--gen-key takes no FILE"},
    };
    for (const auto& usage : cases) {
        SCOPED_TRACE(usage.message);
        const ProcessResult result = RunSign(usage.arguments);
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_TRUE(Contains(result.err, usage.message)) << result.err;
        EXPECT_TRUE(result.err.ends_with("FAILED\n"));
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(ReadFile(file), "<manifest/>");
}

} // namespace
} // namespace integrity_check_tool::test
