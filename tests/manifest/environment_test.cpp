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

class EnvironmentTest : public ::testing::Test {
protected:
    Environment Make(std::map<std::string, std::string> process = {})
    {
        return Environment("/a/b/manifest.xml",
                           zel::MakeIntrusive<MapVariables>(std::move(process)), nullptr);
    }
};

std::string MessageOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const Exception& error) {
        return error.GetDescription();
    }
    return "no exception";
}

TEST_F(EnvironmentTest, Placeholder2KeyAcceptsPlaceholderOrBareName)
{
    EXPECT_EQ(Environment::Placeholder2Key("%Bin%"), "Bin");
    EXPECT_EQ(Environment::Placeholder2Key("Bin"), "Bin");
    EXPECT_EQ(MessageOf([] { Environment::Placeholder2Key("%Bin"); }),
              "Wrong format of environment variable %Bin");
    EXPECT_EQ(MessageOf([] { Environment::Placeholder2Key(""); }),
              "Wrong format of environment variable ");
    EXPECT_EQ(MessageOf([] { Environment::Placeholder2Key("a%b"); }),
              "Wrong format of environment variable a%b");
}

TEST_F(EnvironmentTest, PredefinedVariablesDescribeTheManifest)
{
    Environment environment = Make();
    EXPECT_EQ(environment.GetValue("ManifestPath"), "/a/b/manifest.xml");
    EXPECT_EQ(environment.GetValue("%ProductRoot%"), "/a/b");
    EXPECT_EQ(Environment("manifest.xml", nullptr, nullptr).GetValue("ProductRoot"), ".");
}

TEST_F(EnvironmentTest, ProcessEnvironmentTakesPrecedence)
{
    Environment environment = Make({{"HOME", "/home/op"}, {"EMPTY", ""}});
    environment.SetValue("HOME", "/manifest/home");
    environment.SetValue("%EMPTY%", "from-manifest");
    EXPECT_EQ(environment.Expand("%HOME%/x"), "/home/op/x");
    // An empty process variable counts as undefined.
    EXPECT_EQ(environment.GetValue("EMPTY"), "from-manifest");
}

TEST_F(EnvironmentTest, ExpansionIsSinglePassAndKeepsUnknownPlaceholders)
{
    Environment environment = Make();
    environment.SetValue("Bin", "/opt/x");
    environment.SetValue("Nested", "%Bin%/lib");
    EXPECT_EQ(environment.Expand("%Bin%/agent"), "/opt/x/agent");
    EXPECT_EQ(environment.Expand("%Nested%"), "%Bin%/lib");
    EXPECT_EQ(environment.Expand("%Unknown%/a"), "%Unknown%/a");
    EXPECT_EQ(environment.Expand("100% and %%"), "100% and %%");
    // Placeholders are found left to right; "%%" opens nothing but its second sign may.
    EXPECT_EQ(environment.Expand("%%Bin%%Bin%%"), "%/opt/x/opt/x%");
    EXPECT_EQ(environment.Expand("a%b%Bin%"), "a%b%Bin%");
    EXPECT_EQ(environment.Expand("%Bin%%Unknown%%Bin%"), "/opt/x%Unknown%/opt/x");
    EXPECT_EQ(MessageOf([&] { environment.GetValue("Unknown"); }),
              "Unknown environment variable Unknown");
    EXPECT_EQ(MessageOf([&] { environment.ExpandStrict("%Bin%/%Unknown%"); }),
              "Unknown environment variable Unknown");
    EXPECT_TRUE(environment.IsSameVariable("%Bin%", "Bin"));
}

TEST_F(EnvironmentTest, ExpansionMayNotGrowPastTheLongestPath)
{
    // Variables defined from each other double with every definition; a
    // few hundred bytes of manifest must not ask for gigabytes.
    Environment environment = Make();
    environment.SetValue("Half", std::string(3000, 'h'));
    EXPECT_EQ(environment.Expand("%Half%").size(), 3000u);
    EXPECT_EQ(MessageOf([&] { environment.Expand("%Half%/%Half%"); }),
              "Expansion of environment variable Half is longer than 4096 bytes");
    EXPECT_EQ(MessageOf([&] { environment.ExpandStrict("/x/%Half%%Half%"); }),
              "Expansion of environment variable Half is longer than 4096 bytes");
    const std::string longText(5000, 'p');
    EXPECT_EQ(environment.Expand(longText), longText) << "what is already long may stay so";
}

TEST_F(EnvironmentTest, EmptyValueIsRefusedAndLeavesTheTable)
{
    Environment environment = Make();
    environment.SetValue("Bin", "/opt/x");
    EXPECT_EQ(MessageOf([&] { environment.SetValue("%Bin%", ""); }),
              "Value of environment variable %Bin% is empty");
    EXPECT_EQ(environment.GetValue("Bin"), "/opt/x");
}

class LinuxOnly final : public IFilter {
public:
    bool IsFiltered(const Applicability& entry, std::string_view) const override
    {
        return entry.os && *entry.os != Os::Linux;
    }
};

TEST_F(EnvironmentTest, VisitorStoresApplicableEntriesInOrderThenExpandsPaths)
{
    Manifest manifest;
    EnvironmentInfo windows{{}, "Bin", "C:\\bin"};
    windows.os = Os::Windows;
    manifest.environments = {{{}, "Bin", "%ProductRoot%/bin"}, windows, {{}, "Lib", "%Bin%/lib"}};
    manifest.files = {test::File("%Lib%/a"), test::File("/z"), test::File("%Unknown%/b")};
    manifest.directories.resize(1);
    manifest.directories[0].path = "%Bin%";
    manifest.directories[0].files = {test::File("%Lib%/x")};
    manifest.registries.resize(1);
    manifest.registries[0].path = "%Bin%\\key";

    Environment environment = Make();
    ExpandVariablesManifestVisitor visitor(environment, std::make_shared<LinuxOnly>());
    manifest.Accept(visitor);
    EXPECT_EQ(manifest.files[0].path, "%Unknown%/b");
    EXPECT_EQ(manifest.files[1].path, "/a/b/bin/lib/a");
    EXPECT_EQ(manifest.files[2].path, "/z");
    EXPECT_EQ(manifest.directories[0].path, "/a/b/bin");
    EXPECT_EQ(manifest.directories[0].files[0].path, "/a/b/bin/lib/x");
    EXPECT_EQ(manifest.registries[0].path, "/a/b/bin\\key");
}

}  // namespace
}  // namespace integrity_check_tool
