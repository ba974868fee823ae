#include <functional>
#include <map>

#include <gtest/gtest.h>

#include "exception.h"
#include "manifest/environment.h"
#include "manifest/expand_visitor.h"
#include "manifest/filter.h"
#include "manifest/manifest.h"
#include "support/manifest_builder.h"

namespace integrity_check_tool {
namespace {

class MapVariables final : public zel::IEnvironmentVariables {
public:
    explicit MapVariables(std::map<std::string, std::string> values) : values_(std::move(values)) {}
    std::optional<std::string> Get(const std::string& name) const override
    {
        const auto found = values_.find(name);
        return found == values_.end() ? std::nullopt : std::optional(found->second);
    }

private:
    std::map<std::string, std::string> values_;
};

Environment Make(std::map<std::string, std::string> process = {})
{
    return Environment("/a/b/manifest.xml", zel::MakeIntrusive<MapVariables>(std::move(process)), nullptr);
}

std::string MessageOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const Exception& error) {
        return error.GetDescription();
    }
    return "no exception";
}

// The process environment takes precedence, unless its value is empty.
TEST(EnvironmentTest, ExpansionIsOnePassLeftToRightAndKeepsUnknownPlaceholders)
{
    Environment environment = Make({{"HOME", "/home/op"}, {"EMPTY", ""}});
    environment.SetValue("Bin", "/opt/x");
    environment.SetValue("%Nested%", "%Bin%/lib");
    environment.SetValue("HOME", "/manifest/home");
    environment.SetValue("%EMPTY%", "from-manifest");
    const std::pair<const char*, const char*> cases[] = {
        {"%Bin%/agent", "/opt/x/agent"},
        {"%ProductRoot%|%ManifestPath%", "/a/b|/a/b/manifest.xml"},
        {"%Nested%", "%Bin%/lib"},
        {"%Unknown%/a", "%Unknown%/a"},
        {"100% and %%", "100% and %%"},
        // "%%" opens nothing, but its second sign may.
        {"%%Bin%%Bin%%", "%/opt/x/opt/x%"},
        {"a%b%Bin%", "a%b%Bin%"},
        {"%Bin%%Unknown%%Bin%", "/opt/x%Unknown%/opt/x"},
        {"%HOME%/x", "/home/op/x"},
        {"%EMPTY%", "from-manifest"},
    };
    for (const auto& [text, expanded] : cases) {
        EXPECT_EQ(environment.Expand(text), expanded) << text;
    }
    EXPECT_EQ(Environment("manifest.xml", nullptr, nullptr).GetValue("ProductRoot"), ".");
    EXPECT_TRUE(environment.IsSameVariable("%Bin%", "Bin"));
}

TEST(EnvironmentTest, RefusalsNameTheVariable)
{
    Environment environment = Make();
    environment.SetValue("Bin", "/opt/x");
    // Variables defined from each other double with every definition; a few
    // hundred bytes of manifest must not ask for gigabytes.
    environment.SetValue("Half", std::string(3000, 'h'));
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[] { Environment::Placeholder2Key("%Bin"); }, "Wrong format of environment variable %Bin"},
        {[] { Environment::Placeholder2Key("a%b"); }, "Wrong format of environment variable a%b"},
        {[&] { environment.GetValue("Unknown"); }, "Unknown environment variable Unknown"},
        {[&] { environment.ExpandStrict("%Bin%/%Unknown%"); }, "Unknown environment variable Unknown"},
        {[&] { environment.Expand("%Half%/%Half%"); },
         "Expansion of environment variable Half is longer than 4096 bytes"},
        {[&] { environment.ExpandStrict("/x/%Half%%Half%"); },
         "Expansion of environment variable Half is longer than 4096 bytes"},
        {[&] { environment.SetValue("%Bin%", ""); }, "Value of environment variable %Bin% is empty"},
    };
    for (const auto& [action, message] : cases) {
        EXPECT_EQ(MessageOf(action), message);
    }
    EXPECT_EQ(environment.GetValue("Bin"), "/opt/x") << "a refused value leaves the old one";
    EXPECT_EQ(environment.Expand("%Half%").size(), 3000u);
    const std::string longText(5000, 'p');
    EXPECT_EQ(environment.Expand(longText), longText) << "what is already long may stay so";
}

class LinuxOnly final : public IFilter {
public:
    bool IsFiltered(const Applicability& entry, std::string_view) const override
    {
        return entry.os && *entry.os != Os::Linux;
    }
};

TEST(EnvironmentTest, VisitorStoresApplicableEntriesInOrderThenExpandsPaths)
{
    Manifest manifest;
    EnvironmentInfo windows{{}, "Bin", "C:\\bin"};
    windows.os = Os::Windows;
    manifest.environments = {{{}, "Bin", "%ProductRoot%/bin"}, windows, {{}, "Lib", "%Bin%/lib"}};
    manifest.files = {test::File("%Lib%/a"), test::File("/z"), test::File("%Unknown%/b")};
    manifest.directories.resize(1);
    manifest.directories[0].path = "%Bin%";

    Environment environment = Make();
    ExpandVariablesManifestVisitor visitor(environment, std::make_shared<LinuxOnly>());
    manifest.Accept(visitor);
    EXPECT_EQ(manifest.files[0].path, "%Unknown%/b");
    EXPECT_EQ(manifest.files[1].path, "/a/b/bin/lib/a");
    EXPECT_EQ(manifest.files[2].path, "/z");
    EXPECT_EQ(manifest.directories[0].path, "/a/b/bin");
}

}  // namespace
}  // namespace integrity_check_tool
