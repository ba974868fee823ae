#include <regex>
#include <set>

#include <gtest/gtest.h>

#include "program.h"

namespace integrity_check_tool::test {
namespace {

// The options a program's help lists. Option lines are indented by two
// spaces; names quoted in descriptions or in the usage lines, which are
// indented further, don't count.
std::set<std::string> HelpOptions(const std::string& help)
{
    static const std::regex line(
        R"(^  (?:(-[A-Za-z0-9]) \[ (--[A-Za-z0-9-]+) \]|(--[A-Za-z0-9-]+)))",
        std::regex::multiline);
    std::set<std::string> options;
    for (std::sregex_iterator match(help.begin(), help.end(), line), end; match != end; ++match) {
        for (std::size_t group = 1; group < match->size(); ++group) {
            if ((*match)[group].matched) {
                options.insert((*match)[group].str());
            }
        }
    }
    return options;
}

TEST(ManPageTest, ListsEveryOptionOfTheHelp)
{
    const std::pair<Program, const char*> programs[] = {
        {Program::Checker, "integrity_checker"},
        {Program::CheckTool, "integrity_check_tool"},
        {Program::Tester, "integrity_tester"},
        {Program::Sign, "integrity_sign"}};
    for (const auto& [program, name] : programs) {
        const ProcessResult help = RunProgram(program, {"--help"});
        ASSERT_TRUE(Succeeded(help)) << name;
        const std::set<std::string> options = HelpOptions(help.out);
        EXPECT_GE(options.size(), 6U) << name << " help:\n" << help.out;
        // The page's text with escaped hyphens and font changes undone.
        const std::string page = std::regex_replace(
            std::regex_replace(ReadFile(Path(ICT_MAN_DIR) / (std::string(name) + ".1")),
                               std::regex(R"(\\-)"), "-"),
            std::regex(R"(\\f[BIRP])"), "");
        // The title line names the release the programs print first in their version.
        const std::string release =
            std::regex_replace(ICT_VERSION_TEXT, std::regex(R"(^(\d+\.\d+\.\d+)\..*)"), "$1");
        EXPECT_NE(page.substr(0, page.find('\n')).find("\"integrity_check_tool " + release + '"'),
                  std::string::npos)
            << "title line of " << name;
        // The flavours that verify name the variables that ask for a report.
        for (const char* variable : {"INTEGRITY_CHECK_REPORT", "INTEGRITY_CHECK_METRICS"}) {
            EXPECT_EQ(program != Program::Sign, page.find(variable) != std::string::npos)
                << "man page of " << name << " and " << variable;
        }
        for (const std::string& option : options) {
            const std::regex word("(^|[^A-Za-z0-9-])" + option + "($|[^A-Za-z0-9-])");
            EXPECT_TRUE(std::regex_search(page, word))
                << "man page of " << name << " lacks " << option;
        }
    }
}

}  // namespace
}  // namespace integrity_check_tool::test
