// The report and the metrics of a verification, read back by Debian's
// JSON Schema validator (python3-jsonschema, so /usr/bin/python3: another
// python3 first on PATH would not see it).
#include <boost/algorithm/hex.hpp>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "program.h"

namespace integrity_check_tool::test {
namespace {

/// Validates every line of a report against the schema and prints, per
/// record, its JSON without the run's times and thread count, then per
/// entry "PATH <hex of the exact path bytes>" and per failure the console
/// line it stands for.
constexpr const char* kReader = R"(
import base64, json, sys
try:
    import jsonschema
except ImportError:
    sys.exit("python3-jsonschema is not installed")
validator = jsonschema.Draft202012Validator(json.load(open(sys.argv[1])))
for line in open(sys.argv[2], encoding="utf-8"):
    record = json.loads(line)
    validator.validate(record)
    for key in ("start", "end", "duration_seconds", "threads"):
        record.pop(key, None)
    print(json.dumps(record, sort_keys=True))
    if record["record"] == "entry":
        path = record["path"].encode()
        if "path_base64" in record:
            path = base64.b64decode(record["path_base64"])
        print("PATH", path.hex())
        if record["result"] == "failed":
            print("FAILURE", record["kind"], record["path"], "failed. Reason:", record["reason"])
)";

/// The environment launcher that asks for a report (and metrics) with `threads` threads.
std::vector<std::string> Asking(const Path& report, const std::string& metrics = {},
                                const std::string& threads = "2")
{
    return {"env", "INTEGRITY_CHECK_REPORT=" + report.string(),
            "INTEGRITY_CHECK_METRICS=" + metrics, "INTEGRITY_CHECK_THREADS=" + threads};
}

/// The reader's lines for `report`; fails the test when the report is not valid.
std::vector<std::string> Read(const Path& report)
{
    const ProcessResult read =
        RunHostProcess({"/usr/bin/python3", "-c", kReader, ICT_REPORT_SCHEMA, report.string()});
    EXPECT_EQ(read.exitStatus, 0) << read.err << "\nreport:\n"
                                  << (boost::filesystem::exists(report) ? ReadFile(report) : "");
    return Lines(read.out);
}

/// Lines of `lines` that start with `prefix`, without it.
std::vector<std::string> Tagged(const std::vector<std::string>& lines, const std::string& prefix)
{
    std::vector<std::string> found;
    for (const std::string& line : lines) {
        if (line.starts_with(prefix)) {
            found.push_back(line.substr(prefix.size()));
        }
    }
    return found;
}

/// A product whose verification succeeds, fails and skips, with names
/// that JSON must escape or cannot hold as they are.
class ReportTest : public ::testing::Test {
protected:
    ReportTest()
    {
        WriteFile(Product() / "bin/agent", "agent");
        for (const std::string& name : kNames) {
            WriteFile(Product() / "lib" / name, name);
        }
        WriteFile(dir_ / "config.xml",
                  "<Manifest productName=\"Demo\" productVersion=\"1.0\">\n"
                  "  <File path=\"%ProductRoot%/bin/agent\"><Check type=\"Sha256\"/></File>\n"
                  "  <File path=\"%ProductRoot%/forbidden\"><Check type=\"NotExists\"/></File>\n"
                  "  <File path=\"%ProductRoot%/elsewhere\" arch=\"E2K32\">"
                  "<Check type=\"Exists\"/></File>\n"
                  "  <Files path=\"%ProductRoot%/lib\"/>\n"
                  "</Manifest>\n");
        EXPECT_TRUE(
            Succeeded(RunProgram(Program::CheckTool, {"-g", "-c", (dir_ / "config.xml").string(),
                                                      "-m", Manifest().string()})));
        WriteFile(Product() / "forbidden", "");
        WriteFile(Product() / "lib/changed", "tampered");
    }

    Path Product() const { return dir_ / "product"; }
    Path Manifest() const { return Product() / "integrity_check.xml"; }

    ProcessResult Verify(const std::vector<std::string>& launcher = {}) const
    {
        return RunProgram(Program::Tester, {"--without-signature", Manifest().string()}, {},
                          launcher);
    }

    static inline const std::vector<std::string> kNames{
        "changed",
        "quote\"back\\slash",
        std::string("bad\xff\xfe") + "name",
        "line\xe2\x80\xa8separator",
        std::string("control\n\t\x01\x7f") + "characters",
    };
    TempDir dir_;
};

TEST_F(ReportTest, RecordsFollowTheConsoleWhateverTheThreads)
{
    const ProcessResult plain = Verify();
    ASSERT_TRUE(Failed(plain));
    std::vector<std::vector<std::string>> reads;
    for (const std::string threads : {"1", "4"}) {
        const Path report = dir_ / ("report" + threads + ".jsonl");
        const ProcessResult reported = Verify(Asking(report, {}, threads));
        EXPECT_EQ(reported.exitStatus, 1);
        EXPECT_EQ(reported.err, plain.err) << "the console is the same with a report";
        reads.push_back(Read(report));
    }
    EXPECT_EQ(reads[0], reads[1]) << "records and their order do not depend on the threads";

    const std::vector<std::string>& lines = reads[0];
    ASSERT_FALSE(lines.empty());
    EXPECT_THAT(lines.front(), ::testing::HasSubstr(R"("record": "manifest")"));
    EXPECT_THAT(lines.front(), ::testing::HasSubstr(R"("result": "verified")"));
    EXPECT_THAT(lines.back(), ::testing::HasSubstr(R"("exit_status": 1)"));
    EXPECT_THAT(lines.back(),
                ::testing::HasSubstr(R"("file": {"failed": 2, "skipped": 1, "succeeded": 5})"));

    // Each failure is the console's line, in the console's order.
    std::vector<std::string> consoleFailures = Lines(plain.err);
    consoleFailures.pop_back();  // "manifest ... failed", then "FAILED"
    consoleFailures.pop_back();
    EXPECT_EQ(Tagged(lines, "FAILURE "), consoleFailures);

    // Every path comes back byte for byte, escaped or not valid UTF-8.
    const std::vector<std::string> paths = Tagged(lines, "PATH ");
    for (const std::string& name : kNames) {
        EXPECT_THAT(paths, ::testing::Contains(
                               boost::algorithm::hex_lower((Product() / "lib" / name).string())))
            << name;
    }
    EXPECT_THAT(paths, ::testing::Contains(
                           boost::algorithm::hex_lower((Product() / "elsewhere").string())));
    const std::string raw = ReadFile(dir_ / "report1.jsonl");
    EXPECT_THAT(raw, ::testing::HasSubstr(R"(quote\"back\\slash)"));
    EXPECT_THAT(raw, ::testing::HasSubstr("bad\xef\xbf\xbd\xef\xbf\xbd"
                                          "name"));
    EXPECT_THAT(raw, ::testing::HasSubstr(R"("reason":"filtered")"));
    // A changed file's record holds both digests; the reason names them too.
    EXPECT_THAT(
        raw, ::testing::ContainsRegex(
                 R"("check":"Gost2012","result":"failed".*"expected":"[^"]+","actual":"[^"]+")"));
}

TEST_F(ReportTest, UnwritableTargetsFailTheRunWithoutHidingItsOwnResult)
{
    const Path missing = dir_ / "missing/report.jsonl";
    struct Case {
        std::vector<std::string> launcher;
        std::string target;
    };
    for (const Case& c : {Case{Asking(missing), missing.string()},
                          Case{Asking(dir_ / "report.jsonl", (dir_ / "missing/m.prom").string()),
                               (dir_ / "missing/m.prom").string()}}) {
        const ProcessResult result = Verify(c.launcher);
        EXPECT_TRUE(Failed(result, "was not written: Can't write file " + c.target)) << c.target;
        EXPECT_THAT(result.err, ::testing::HasSubstr("file " + (Product() / "forbidden").string() +
                                                     " failed. Reason:"));
        EXPECT_THAT(result.out, ::testing::HasSubstr("Summary( failed / skipped / succeeded )"));
    }
    // The other target is still written.
    EXPECT_FALSE(Read(dir_ / "report.jsonl").empty());
}

TEST_F(ReportTest, MergedManifestsComeFirstAndTheFirstOwnsTheEntries)
{
    const Path copy = Product() / "copy.xml";
    boost::filesystem::copy_file(Manifest(), copy);
    const Path report = dir_ / "report.jsonl";
    const ProcessResult result =
        RunProgram(Program::Tester, {"--without-signature", Manifest().string(), copy.string()}, {},
                   Asking(report));
    const std::vector<std::string> lines = Read(report);
    ASSERT_GE(lines.size(), 3u);
    // The first record's manifest is the one the console names, the others merge into it.
    const std::string first = Lines(result.err).end()[-2];
    const std::string name = first.substr(9, first.find(" failed") - 9);
    EXPECT_THAT(lines[0], ::testing::HasSubstr(R"("path": ")" + name + '"'));
    EXPECT_THAT(lines[1], ::testing::HasSubstr(R"("record": "manifest")"));
    EXPECT_THAT(lines[1], ::testing::Not(::testing::HasSubstr(R"("path": ")" + name + '"')));
    for (const std::string& line : lines) {
        if (line.find(R"("record": "entry")") != std::string::npos) {
            EXPECT_THAT(line, ::testing::HasSubstr(R"("manifest": ")" + name + '"'));
        }
    }
}

/// The signature outcome of each flavour, good and refused.
class ReportSignatureTest : public SignedProductTest {};

TEST_F(ReportSignatureTest, ManifestRecordTellsTheSignature)
{
    ASSERT_TRUE(
        Succeeded(RunProgram(Program::Sign, {"--type", "lum", "--key", DemoPki("regular/leaf.key"),
                                             "--cert", DemoPki("regular/leaf.pem"), "--chain",
                                             DemoPki("regular/inter.pem"), Manifest().string()})));
    const Path report = dir_ / "report.jsonl";
    struct Case {
        Program program;
        std::vector<std::string> arguments;
        int status;
        std::string record;
    };
    const std::string verified =
        R"("flags": ["Signed", "Trusted", "Embedded", "RevocationCheckSkipped"], )"
        R"("path": ")" +
        Manifest().string() +
        R"(", "record": "manifest", "result": "verified", )"
        R"("signature_type": "lum", "signer": {"not_after": ")";
    for (const Case& c : {
             Case{Program::Checker, {Manifest().string()}, 0, verified},
             Case{Program::CheckTool, {"-v", "-m", Manifest().string()}, 0, verified},
             // The tester trusts the alternative roots only.
             Case{Program::Tester,
                  {Manifest().string()},
                  1,
                  R"("flags": ["Signed", "RevocationCheckSkipped", "IncompleteChain"], )"
                  R"("message": "Can't verify LUM signature of file )" +
                      Manifest().string() +
                      R"(. Flags: Signed|RevocationCheckSkipped|IncompleteChain", )"},
         }) {
        const ProcessResult result = RunProgram(c.program, c.arguments, {}, Asking(report));
        EXPECT_EQ(result.exitStatus, c.status) << result.err;
        const std::vector<std::string> lines = Read(report);
        ASSERT_EQ(lines.size(), c.status == 0 ? 4u : 2u) << ReadFile(report);
        EXPECT_THAT(lines.front(), ::testing::StartsWith("{" + c.record)) << lines.front();
        EXPECT_THAT(lines.back(),
                    ::testing::HasSubstr(R"("exit_status": )" + std::to_string(c.status)));
        if (c.status == 0) {
            EXPECT_THAT(
                lines.front(),
                ::testing::HasSubstr(R"("subject": "CN=Integrity Demo Regular Code Signing)"));
        } else {
            EXPECT_THAT(result.err, ::testing::HasSubstr("Can't verify LUM signature of file " +
                                                         Manifest().string() + ". Flags: "));
        }
    }
}

}  // namespace
}  // namespace integrity_check_tool::test
