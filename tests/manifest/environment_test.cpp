#include <cstdlib>

#include <gtest/gtest.h>
#include <zel/environment.h>

#include "manifest/environment.h"
#include "support/manifest_builder.h"

namespace integrity_check_tool {
namespace {

Environment Make()
{
    return Environment("/a/b/manifest.xml", zel::CreateProcessEnvironment(), nullptr);
}

// The process environment takes precedence, unless its value is empty.
TEST(EnvironmentTest, ExpansionIsOnePassLeftToRightAndKeepsUnknownPlaceholders)
{
    ::setenv("ICT_TEST_HOME", "/home/op", 1);
    ::setenv("ICT_TEST_EMPTY", "", 1);
    Environment environment = Make();
    environment.SetValue("Bin", "/opt/x");
    environment.SetValue("%Nested%", "%Bin%/lib");
    environment.SetValue("ICT_TEST_HOME", "/manifest/home");
    environment.SetValue("%ICT_TEST_EMPTY%", "from-manifest");
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
        {"%ICT_TEST_HOME%/x", "/home/op/x"},
        {"%ICT_TEST_EMPTY%", "from-manifest"},
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
        {[&] { environment.ExpandStrict("%Bin%/%Unknown%"); },
         "Unknown environment variable Unknown"},
        {[&] { environment.Expand("%Half%/%Half%"); },
         "Expansion of environment variable Half is longer than 4096 bytes"},
        {[&] { environment.ExpandStrict("/x/%Half%%Half%"); },
         "Expansion of environment variable Half is longer than 4096 bytes"},
        {[&] { environment.SetValue("%Bin%", ""); },
         "Value of environment variable %Bin% is empty"},
    };
    for (const auto& [action, message] : cases) {
        EXPECT_EQ(test::Refusal(action), message);
    }
    EXPECT_EQ(environment.GetValue("Bin"), "/opt/x") << "a refused value leaves the old one";
    EXPECT_EQ(environment.Expand("%Half%").size(), 3000u);
    const std::string longText(5000, 'p');
    EXPECT_EQ(environment.Expand(longText), longText) << "what is already long may stay so";
}

}  // namespace
}  // namespace integrity_check_tool
