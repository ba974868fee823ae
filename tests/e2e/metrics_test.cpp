// The metrics file as the host's Prometheus tools see it: promtool checks
// it, node_exporter's textfile collector serves it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "program.h"

namespace integrity_check_tool::test {
namespace {

/// Empty when `tool` is on the PATH, else what to do about it.
std::string Missing(const std::string& tool, const std::string& package)
{
    const bool found = RunHostProcess({"sh", "-c", "command -v \"$0\"", tool}).exitStatus == 0;
    return found ? std::string()
                 : tool + " is missing: install the " + package +
                       " package (scripts/install-deps.sh does)";
}

TEST(MetricsTest, NodeExporterServesTheMetricsFile)
{
    for (const auto& [tool, package] :
         {std::pair{"prometheus-node-exporter", "prometheus-node-exporter"},
          std::pair{"promtool", "prometheus"}, std::pair{"curl", "curl"}}) {
        const std::string missing = Missing(tool, package);
        ASSERT_TRUE(missing.empty()) << missing;
    }
    TempDir dir;
    WriteFile(dir / "product/agent", "x");
    const Path manifest = dir / "product/weird \"name\".xml";
    WriteFile(manifest, "<Manifest><File path=\"%ProductRoot%/agent\"><Check type=\"Value\" "
                        "value=\"eA==\"/></File><File path=\"%ProductRoot%/gone\">"
                        "<Check type=\"Exists\"/></File></Manifest>\n");
    const Path metrics = dir / "textfile/integrity_check.prom";
    WriteFile(metrics, "stale\n");
    const ProcessResult verified =
        RunProgram(Program::Tester, {"--without-signature", manifest.string()}, {},
                   {"env", "INTEGRITY_CHECK_METRICS=" + metrics.string()});
    EXPECT_EQ(verified.exitStatus, 1) << verified.err;

    const ProcessResult lint =
        RunHostProcess({"sh", "-c", "promtool check metrics < \"$0\"", metrics.string()});
    EXPECT_EQ(lint.exitStatus, 0) << lint.out << lint.err;

    const int port = FreeLoopbackPort();
    ASSERT_NE(port, 0);
    const std::string address = "127.0.0.1:" + std::to_string(port);
    // The exporter lives for one scrape, retried until it listens.
    const ProcessResult scrape = RunHostProcess(
        {"sh", "-c",
         "prometheus-node-exporter --web.listen-address=\"$0\" --collector.disable-defaults "
         "--collector.textfile --collector.textfile.directory=\"$1\" >\"$2\" 2>&1 &\n"
         "exporter=$! status=1\n"
         "for attempt in $(seq 100); do\n"
         "  if curl -sf \"http://$0/metrics\"; then status=0; break; fi; sleep 0.1\n"
         "done\n"
         "kill $exporter; exit $status",
         address, (dir / "textfile").string(), (dir / "exporter.log").string()});
    ASSERT_EQ(scrape.exitStatus, 0) << ReadFile(dir / "exporter.log");
    const std::vector<std::string> lines = Lines(scrape.out);
    for (const std::string& sample : {
             std::string("node_textfile_scrape_error 0"),
             std::string("integrity_check_success 0"),
             std::string(R"(integrity_check_entries{kind="file",result="failed"} 1)"),
             std::string(R"(integrity_check_entries{kind="file",result="succeeded"} 1)"),
             std::string(R"(integrity_check_entries{kind="manifest",result="failed"} 1)"),
             std::string(R"(integrity_check_entries{kind="registry_value",result="skipped"} 0)"),
             R"(integrity_check_manifest_signature_verified{manifest=")" +
                 (dir / "product/weird \\\"name\\\".xml").string() + R"("} 1)",
             R"(integrity_check_info{version=")" + std::string(ICT_VERSION_TEXT) + R"("} 1)",
         }) {
        EXPECT_THAT(lines, ::testing::Contains(sample)) << scrape.out;
    }
    EXPECT_THAT(lines, ::testing::Contains(
                           ::testing::StartsWith("integrity_check_last_run_timestamp_seconds ")));
    EXPECT_THAT(lines,
                ::testing::Contains(::testing::StartsWith("integrity_check_duration_seconds ")));
}

}  // namespace
}  // namespace integrity_check_tool::test
