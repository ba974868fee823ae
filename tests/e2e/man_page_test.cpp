#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "program.h"

namespace integrity_check_tool::test {
namespace {

// The options a program's help lists. Option lines are indented by two
// spaces; names quoted in descriptions or in the usage lines, which are
// indented further, don't count.
std::set<std::string> HelpOptions(const std::string& help)
{
    static const std::regex line(R"(^  (?:(-[A-Za-z0-9]) \[ (--[A-Za-z0-9-]+) \]|(--[A-Za-z0-9-]+)))");
    std::set<std::string> options;
    for (const std::string& text : Lines(help)) {
        std::smatch match;
        if (std::regex_search(text, match, line)) {
            for (std::size_t group = 1; group < match.size(); ++group) {
                if (match[group].matched) {
                    options.insert(match[group].str());
                }
            }
        }
    }
    return options;
}

// The page's text with escaped hyphens and font changes undone.
std::string ManPageText(const std::string& name)
{
    std::ifstream file(std::string(ICT_MAN_DIR) + "/" + name + ".1");
    std::ostringstream text;
    text << file.rdbuf();
    const std::string page = std::regex_replace(text.str(), std::regex(R"(\\-)"), "-");
    return std::regex_replace(page, std::regex(R"(\\f[BIRP])"), "");
}

TEST(ManPageTest, ListsEveryOptionOfTheHelp)
{
    const std::pair<Program, const char*> programs[] = {{Program::Checker, "integrity_checker"},
                                                        {Program::CheckTool, "integrity_check_tool"},
                                                        {Program::Tester, "integrity_tester"},
                                                        {Program::Sign, "integrity_sign"}};
    for (const auto& [program, name] : programs) {
        const ProcessResult help = RunProgram(program, {"--help"});
        ASSERT_EQ(help.exitStatus, 0) << name;
        const std::set<std::string> options = HelpOptions(help.out);
        EXPECT_GE(options.size(), 6U) << name << " help:\n" << help.out;
        const std::string page = ManPageText(name);
        ASSERT_FALSE(page.empty()) << "no man page for " << name;
        for (const std::string& option : options) {
            const std::regex word("(^|[^A-Za-z0-9-])" + option + "($|[^A-Za-z0-9-])");
            EXPECT_TRUE(std::regex_search(page, word)) << "man page of " << name << " lacks " << option;
        }
    }
}

}  // namespace
}  // namespace integrity_check_tool::test
