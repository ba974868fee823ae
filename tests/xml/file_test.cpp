#include <boost/exception/get_error_info.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zel/memory_io.h>

#include "exception.h"
#include "manifest/json.h"
#include "manifest/manifest.h"
#include "support/manifest_builder.h"
#include "support/temp_dir.h"
#include "utils/base64.h"
#include "xml/file.h"

namespace integrity_check_tool::xml {
namespace {

Manifest Load(const std::string& text)
{
    zel::MemoryIO stream(std::vector<std::uint8_t>(text.begin(), text.end()));
    Manifest manifest;
    File().LoadFromStream(stream, manifest);
    return manifest;
}

/// What loading `text` is refused with, and where: "message @row:column".
std::string Refusal(const std::string& text)
{
    try {
        Load(text);
    } catch (const Exception& error) {
        const int* row = boost::get_error_info<XmlRow>(error);
        const int* column = boost::get_error_info<XmlColumn>(error);
        const bool placed = row != nullptr && column != nullptr;
        return error.GetDescription() +
               (placed ? " @" + std::to_string(*row) + ":" + std::to_string(*column) : "");
    }
    return "no exception";
}

std::string Manifest1(const std::string& body)
{
    return "<Manifest>" + body + "</Manifest>";
}

// Escapes and bytes no text encoding expects must survive writing and
// reading again.
TEST(XmlFileTest, ReadsTheCurrentDialectAndWritesItBackEqual)
{
    const Manifest manifest = Load(R"(<?xml version="1.0" encoding="UTF-8"?>
<Config>
  <Manifest productName="A &amp; &lt;Co&gt; &quot;q&quot;" productVersion="1.0" generationDateTime="today">
    <Environment key="Bin" value="%ProductRoot%/bin" os="Linux"/>
    <Unknown path="/ignored"/>
    <Registry path="HKLM\Soft" arch="X86">
      <Value name="b" type="REG_SZ"><Check type="Value" value="AAA="/></Value>
      <Value name="a" type="REG_DWORD"/>
    </Registry>
    <File path="/z&#9;tab&#10;line"><Check/></File>
    <Files path="/opt" edition="Desktop" bitness="64">
      <File path="b"/><File path="a)"
                                   "\xE9\xFF\xFE"
                                   R"("/>
    </Files>
    <File path="/a" linuxKernelVersion="419"><Check type="Sha256" value="AQID"/><Check type="Exists" value=""/></File>
  </Manifest>
</Config>)");
    EXPECT_EQ(manifest.productName, "A & <Co> \"q\"");
    ASSERT_EQ(manifest.environments.size(), 1u);
    EXPECT_EQ(manifest.environments[0].os, Os::Linux);
    ASSERT_EQ(manifest.files.size(), 2u);
    EXPECT_EQ(manifest.files[0].path, "/a");
    EXPECT_EQ(manifest.files[0].checks[0]->value, (Blob{1, 2, 3}));
    EXPECT_EQ(manifest.files[1].path, "/z\ttab\nline");
    EXPECT_EQ(manifest.files[1].checks[0]->type, CheckType::Exists);
    ASSERT_EQ(manifest.directories.size(), 1u);
    EXPECT_EQ(manifest.directories[0].osEdition, OsEdition::Desktop);
    EXPECT_EQ(manifest.directories[0].bitness, Bitness::Bits64);
    EXPECT_EQ(manifest.directories[0].files[0].path, "a\xE9\xFF\xFE");
    ASSERT_EQ(manifest.registries.size(), 1u);
    EXPECT_EQ(manifest.registries[0].values[0].name, "a");
    EXPECT_EQ(manifest.registries[0].values[1].checks[0]->value, (Blob{0, 0}));

    test::TempDir directory;
    File().StoreToFile(directory / "m.xml", manifest);
    Manifest reread;
    File().LoadFromFile(directory / "m.xml", reread);
    EXPECT_EQ(reread, manifest);
}

// The conditions are written in one order under their own spellings, and
// read back from them; the trace shows them as JSON in the same order.
TEST(XmlFileTest, WritesEveryConditionInItsOrderAndSpelling)
{
    Manifest manifest;
    FileInfo file = test::File("/a");
    file.arch = Arch::ARM64;
    file.os = Os::Windows;
    file.osEdition = OsEdition::Desktop;
    file.bitness = Bitness::Bits32;
    file.minVersionNt = 601;
    file.maxVersionNt = 603;
    file.linuxKernelVersion = 419;
    manifest.files.Insert(file);
    test::TempDir directory;
    File().StoreToFile(directory / "m.xml", manifest);
    EXPECT_EQ(test::ReadFile(directory / "m.xml"),
              "<Manifest>\n    <File arch=\"ARM64\" os=\"Windows\" edition=\"Desktop\" "
              "bitness=\"32\" minVersionNt=\"601\" maxVersionNt=\"603\" "
              "linuxKernelVersion=\"419\" path=\"/a\" />\n</Manifest>\n");
    Manifest reread;
    File().LoadFromFile(directory / "m.xml", reread);
    EXPECT_EQ(reread, manifest);
    EXPECT_NE(ToJson(manifest).find(R"("arch": "ARM64",
            "os": "Windows",
            "osEdition": "Desktop",
            "bitness": "32",
            "minVersionNt": "601",
            "maxVersionNt": "603",
            "linuxKernelVersion": "419",
            "path": "\/a",)"),
              std::string::npos)
        << ToJson(manifest);
}

TEST(XmlFileTest, NumbersTakeHexPrefixesValuesMayBeLongAndCheckValuesAreBase64)
{
    const Manifest manifest = Load(Manifest1(
        R"(<File path="/a" minVersionNt="0x0A00" maxVersionNt=" 1537abc" linuxKernelVersion="0X1f"/>)"));
    EXPECT_EQ(manifest.files[0].minVersionNt, 2560u);
    EXPECT_EQ(manifest.files[0].maxVersionNt, 1537u);
    EXPECT_EQ(manifest.files[0].linuxKernelVersion, 31u);
    const std::string huge(1 << 20, 'x');
    EXPECT_EQ(Load(Manifest1("<File path='" + huge + "'/>")).files[0].path, huge);

    // Canonical check values take a quicker decoder than the others; both
    // must read every value as Base64Decode does, padding bits and odd '='
    // included.
    for (const std::string value : {"", "r80dezmoIOL0Zbmhap54bk9FCYAYXcQG7IFMcqi4i/g=", "AQID",
                                    "AQI=", "AQ==", "QR==", "A=A=", "AQ", "AQIDBA", "===="}) {
        const Manifest loaded =
            Load(Manifest1("<File path='/a'><Check type='Sha256' value='" + value + "'/></File>"));
        EXPECT_EQ(loaded.files[0].checks[0]->value, Base64Decode(value)) << value;
    }
    EXPECT_THROW(Load(Manifest1("<File path='/a'><Check value='AQ!='/></File>")), std::exception);
}

TEST(XmlFileTest, ReadsTheLegacyDialectWithItsTranslations)
{
    const Manifest manifest = Load(R"(<Config/>
<IntegrityManifest generationDatetime="then">
  <File bitness="32" os="linux" edition="any" minVersionNT="601">
    <Path>/usr/bin/x</Path>
    <Hash algorithm="SHA256">AQID</Hash>
    <Hash algorithm="GOST_34.12-2012">
      AAAA
    </Hash>
  </File>
  <Other/>
</IntegrityManifest>)");
    // A 32-bit entry meant x86; edition "any" means no condition.
    FileInfo expected = test::File("/usr/bin/x", {test::Check(CheckType::Sha256, {1, 2, 3}),
                                                  test::Check(CheckType::Gost2012, {0, 0, 0})});
    expected.arch = Arch::X86;
    expected.os = Os::Linux;
    expected.minVersionNt = 601;
    EXPECT_EQ(manifest.generationDateTime, "then");
    EXPECT_EQ(manifest.files.Items(), std::vector{expected});
}

TEST(XmlFileTest, FailuresCarryTheirMessageAndPosition)
{
    std::string deep;
    while (deep.size() < 300000) {
        deep += "<a>";
    }
    // Positions are given where they tell the author something.
    const std::pair<std::string, std::string> cases[] = {
        {"<IntegrityManifest>\n  <File "
         "edition=\"Server\"><Path>x</Path></File></IntegrityManifest>",
         "XML attribute edition has invalid value: Server @2:3"},
        {"<IntegrityManifest><File><Path>x</Path><Hash "
         "algorithm='MD5'/></File></IntegrityManifest>",
         "XML attribute algorithm has invalid value: MD5"},
        {Manifest1("\n<File path='a'>\n <Check type='sha256'/></File>"),
         "Invalid name: sha256 @3:2"},
        {Manifest1("<File minVersionNt='0x'/>"), "Invalid number: 0x"},
        {Manifest1("<File minVersionNt='-1'/>"), "Invalid number: -1"},
        {Manifest1("<File minVersionNt='4294967296'/>"), "Invalid number: 4294967296"},
        {deep, "XML elements are nested deeper than 64 levels"},
        {"<Config><Other/></Config>", "XML node Manifest is absent"},
        {"<Manifest>\n  <File path='a'>\n</Manifest>", "Error reading end tag. @3:1"},
        {"", "Error document empty."},
        // Of several faulty entries the first in the document is reported,
        // not the first in path order.
        {Manifest1("\n<File path='/z' arch='x64'/>\n<File path='/a' minVersionNt='bad'/>"),
         "Invalid name: x64 @2:1"},
    };
    for (const auto& [text, refusal] : cases) {
        SCOPED_TRACE(text.substr(0, 100));
        EXPECT_THAT(Refusal(text), ::testing::StartsWith(refusal));
    }
}

}  // namespace
}  // namespace integrity_check_tool::xml
