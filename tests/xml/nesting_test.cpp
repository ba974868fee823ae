#include <tinyxml.h>

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "xml/nesting.h"

namespace integrity_check_tool::xml {
namespace {

std::size_t Scan(const std::string& text, std::size_t limit = 1000)
{
    std::string padded = text;
    padded.append(kNestingPadding, '\0');
    return MaxNesting(std::string_view(padded.data(), text.size()), limit);
}

std::size_t TreeDepth(const TiXmlNode& node)
{
    std::size_t deepest = 0;
    for (const TiXmlNode* child = node.FirstChild(); child != nullptr;
         child = child->NextSibling()) {
        if (child->ToElement() != nullptr) {
            deepest = std::max(deepest, 1 + TreeDepth(*child));
        }
    }
    return deepest;
}

TEST(NestingTest, CountsElementLevelsOnly)
{
    EXPECT_EQ(Scan("<a><b/><c><d></d></c></a>"), 3u);
    EXPECT_EQ(Scan("<a x='</a><b><b><b>'><!-- <c><c> --><![CDATA[<e><e>]]><?xml x?></a>"), 1u);
    EXPECT_EQ(Scan("<a><b><c><d>", 2), 3u);
}

// The scan must never report less than the parser reaches; random documents
// mixing markup, quotes, entities and multi-byte lead bytes check that.
TEST(NestingTest, NeverUnderestimatesTheParser)
{
    const char* const pieces[] = {"<a>",
                                  "</a>",
                                  "<b x='1'>",
                                  "</b>",
                                  "<c/>",
                                  "'",
                                  "\"",
                                  "<",
                                  ">",
                                  "/>",
                                  "&#x41;",
                                  "&#x",
                                  ";",
                                  "&amp;",
                                  "<!--",
                                  "-->",
                                  "<![CDATA[",
                                  "]]>",
                                  "<?xml encoding='UTF-8'?>",
                                  "<!D>",
                                  "\xE0",
                                  "\xF0",
                                  "\xEF\xBB\xBF",
                                  " ",
                                  "x",
                                  "=",
                                  "<a y=\"",
                                  "</a >"};
    std::mt19937 random(4242);
    std::uniform_int_distribution<std::size_t> pick(0, std::size(pieces) - 1);
    std::uniform_int_distribution<int> count(1, 60);
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (int i = count(random); i > 0; --i) {
            text += pieces[pick(random)];
        }
        TiXmlDocument document;
        document.Parse(text.c_str(), nullptr, TIXML_DEFAULT_ENCODING);
        ASSERT_GE(Scan(text), TreeDepth(document)) << text;
    }
}

}  // namespace
}  // namespace integrity_check_tool::xml
