#include <regex>
#include <vector>

#include <gtest/gtest.h>
#include <zel/tracer.h>

namespace zel {
namespace {

class RecordingChannel final : public ITraceChannel {
public:
    Result Write(std::string_view line) override
    {
        lines.emplace_back(line);
        return kOk;
    }
    std::vector<std::string> lines;
};

TEST(TracerTest, WritesRecordsUpToTheConfiguredLevel)
{
    auto channel = MakeIntrusive<RecordingChannel>();
    auto formatter = MakeIntrusive<TraceFormatter>();
    ASSERT_EQ(formatter->SetPattern("%p|"), kOk);
    Tracer tracer(formatter, channel);
    ASSERT_EQ(tracer.SetLevel(800), kOk);
    tracer.Write(700, "info");
    tracer.Write(800, "debug");
    tracer.Write(801, "hidden");
    EXPECT_EQ(channel->lines, (std::vector<std::string>{"700|info\n", "800|debug\n"}));
}

TEST(TraceFormatterTest, PrefixFieldsAndEscapes)
{
    TraceFormatter formatter;
    ASSERT_EQ(formatter.SetPattern("%X %I %p %% %q %i "), kOk);
    const std::string line = formatter.Format({42, "message"}, 7);
    EXPECT_TRUE(std::regex_match(line, std::regex(R"(\d\d:\d\d:\d\d\.\d{3} \d+ 42 % %q 7 )"))) << line;
}

TEST(TracerProviderTest, FormatsOnlyEnabledRecordsAndToleratesNoTracer)
{
    struct Probe : TracerProvider {
        using TracerProvider::TracerProvider;
        using TracerProvider::Trace;
    };
    auto channel = MakeIntrusive<RecordingChannel>();
    auto formatter = MakeIntrusive<TraceFormatter>();
    ASSERT_EQ(formatter->SetPattern(""), kOk);
    auto tracer = MakeIntrusive<Tracer>(formatter, channel);
    tracer->SetLevel(300);
    Probe probe(tracer);
    probe.Trace(300, "File %1% has %2%", "a", 3);
    probe.Trace(800, "File %1%", "skipped");
    EXPECT_EQ(channel->lines, (std::vector<std::string>{"File a has 3\n"}));

    Probe silent(nullptr);
    silent.Trace(0, "nothing %1%", 1);
}

}  // namespace
}  // namespace zel
