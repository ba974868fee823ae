#include <map>

#include <gtest/gtest.h>
#include <zel/environment.h>

namespace zel {
namespace {

class MapEnvironment final : public IEnvironmentVariables {
public:
    explicit MapEnvironment(std::map<std::string, std::string> values) : values_(std::move(values)) {}
    std::optional<std::string> Get(const std::string& name) const override
    {
        const auto it = values_.find(name);
        return it == values_.end() ? std::nullopt : std::optional(it->second);
    }

private:
    std::map<std::string, std::string> values_;
};

TEST(ExpandEnvironmentStringsTest, ReplacesDefinedNonEmptyVariablesOnly)
{
    const MapEnvironment env({{"A", "/opt"}, {"EMPTY", ""}, {"LOOP", "%A%"}});
    struct Case {
        const char* text;
        const char* expanded;
        Result result;
    };
    for (const Case& c : {
             Case{"%A%/bin", "/opt/bin", kOk},
             Case{"no placeholders", "no placeholders", kOk},
             Case{"100%", "100%", kOk},
             Case{"%%", "%%", kOk},
             Case{"%%A%", "%/opt", kOk},
             Case{"%B%/x", "%B%/x", kFalse},
             Case{"%EMPTY%", "%EMPTY%", kFalse},
             Case{"%LOOP%", "%A%", kOk},  // single pass
             Case{"%A%%A%", "/opt/opt", kOk},
             Case{"%A", "%A", kOk},
         }) {
        std::string out;
        EXPECT_EQ(ExpandEnvironmentStrings(c.text, out, env), c.result) << c.text;
        EXPECT_EQ(out, c.expanded) << c.text;
    }
}

}  // namespace
}  // namespace zel
