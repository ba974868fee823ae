#include <functional>

#include <boost/exception/get_error_info.hpp>
#include <gtest/gtest.h>
#include <tinyxml.h>
#include <zel/memory_io.h>

#include "exception.h"
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

struct Failure {
    std::string message;
    int row = 0;
    int column = 0;
};

Failure LoadFailure(const std::string& text)
{
    try {
        Load(text);
    } catch (const Exception& error) {
        const int* row = boost::get_error_info<XmlRow>(error);
        const int* column = boost::get_error_info<XmlColumn>(error);
        return {error.GetDescription(), row ? *row : 0, column ? *column : 0};
    }
    return {"no exception"};
}

std::string Manifest1(const std::string& body) { return "<Manifest>" + body + "</Manifest>"; }

TEST(XmlFileTest, ReadsTheCurrentDialect)
{
    const Manifest manifest = Load(R"(<?xml version="1.0" encoding="UTF-8"?>
<Config>
  <Manifest productName="Agent" productVersion="1.0" generationDateTime="today">
    <Environment key="Bin" value="%ProductRoot%/bin" os="Linux"/>
    <Unknown path="/ignored"/>
    <Registry path="HKLM\Soft" arch="X86">
      <Value name="b" type="REG_SZ"><Check type="Value" value="AAA="/></Value>
      <Value name="a" type="REG_DWORD"/>
    </Registry>
    <File path="/z"><Check/></File>
    <Files path="/opt" edition="Desktop" bitness="64">
      <File path="b"/><File path="a"/>
    </Files>
    <File path="/a" linuxKernelVersion="419"><Check type="Sha256" value="AQID"/><Check type="Exists" value=""/></File>
  </Manifest>
</Config>)");
    EXPECT_EQ(manifest.productName, "Agent");
    EXPECT_EQ(manifest.generationDateTime, "today");
    ASSERT_EQ(manifest.environments.size(), 1u);
    EXPECT_EQ(manifest.environments[0].os, Os::Linux);
    ASSERT_EQ(manifest.files.size(), 2u);
    EXPECT_EQ(manifest.files[0].path, "/a");
    EXPECT_EQ(manifest.files[0].linuxKernelVersion, 419u);
    EXPECT_EQ(manifest.files[0].checks[0]->value, (Blob{1, 2, 3}));
    EXPECT_TRUE(manifest.files[0].checks[1]->value.empty());
    EXPECT_EQ(manifest.files[1].checks[0]->type, CheckType::Exists);
    ASSERT_EQ(manifest.directories.size(), 1u);
    EXPECT_EQ(manifest.directories[0].osEdition, OsEdition::Desktop);
    EXPECT_EQ(manifest.directories[0].bitness, Bitness::Bits64);
    EXPECT_EQ(manifest.directories[0].files[0].path, "a");
    ASSERT_EQ(manifest.registries.size(), 1u);
    EXPECT_EQ(manifest.registries[0].arch, Arch::X86);
    EXPECT_EQ(manifest.registries[0].values[0].name, "a");
    EXPECT_EQ(manifest.registries[0].values[1].checks[0]->value, (Blob{0, 0}));
    EXPECT_EQ(Load("<Manifest productName='Agent'/>").productName, "Agent");
}

TEST(XmlFileTest, NumbersTakeHexPrefixesAndIgnoreTrailingText)
{
    const Manifest manifest = Load(Manifest1(
        R"(<File path="/a" minVersionNt="0x0A00" maxVersionNt=" 1537abc" linuxKernelVersion="0X1f"/>)"));
    EXPECT_EQ(manifest.files[0].minVersionNt, 2560u);
    EXPECT_EQ(manifest.files[0].maxVersionNt, 1537u);
    EXPECT_EQ(manifest.files[0].linuxKernelVersion, 31u);
    EXPECT_EQ(File::ReadSignedNumber(" -12x"), -12);
    for (const char* bad : {"abc", "0x", "-1", "4294967296"}) {
        EXPECT_EQ(LoadFailure(Manifest1(std::string("<File minVersionNt='") + bad + "'/>")).message,
                  std::string("Invalid number: ") + bad);
    }
}

// Canonical values take a quicker decoder than the others; both must read
// every value as Base64Decode does, padding bits and odd '=' included.
TEST(XmlFileTest, CheckValuesDecodeAsBase64Does)
{
    const std::string digest = "r80dezmoIOL0Zbmhap54bk9FCYAYXcQG7IFMcqi4i/g=";
    for (const std::string& value : {std::string(), digest, std::string("AQID"),
                                     std::string("AQI="), std::string("AQ=="), std::string("QR=="),
                                     std::string("A=A="), std::string("AQ"), std::string("AQIDBA"),
                                     std::string("====")}) {
        const Manifest manifest =
            Load(Manifest1("<File path='/a'><Check type='Sha256' value='" + value + "'/></File>"));
        EXPECT_EQ(manifest.files[0].checks[0]->value, Base64Decode(value)) << value;
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
    EXPECT_EQ(manifest.generationDateTime, "then");
    ASSERT_EQ(manifest.files.size(), 1u);
    const FileInfo& file = manifest.files[0];
    EXPECT_EQ(file.path, "/usr/bin/x");
    EXPECT_EQ(file.arch, Arch::X86);
    EXPECT_FALSE(file.bitness);
    EXPECT_EQ(file.os, Os::Linux);
    EXPECT_FALSE(file.osEdition);
    EXPECT_EQ(file.minVersionNt, 601u);
    ASSERT_EQ(file.checks.size(), 2u);
    EXPECT_EQ(file.checks[0]->type, CheckType::Sha256);
    EXPECT_EQ(file.checks[1]->type, CheckType::Gost2012);
    EXPECT_EQ(file.checks[1]->value, (Blob{0, 0, 0}));
}

TEST(XmlFileTest, FailuresCarryTheirMessageAndPosition)
{
    const Failure edition = LoadFailure(
        "<IntegrityManifest>\n  <File edition=\"Server\"><Path>x</Path></File></IntegrityManifest>");
    EXPECT_EQ(edition.message, "XML attribute edition has invalid value: Server");
    EXPECT_EQ(edition.row, 2);
    EXPECT_EQ(edition.column, 3);
    EXPECT_EQ(LoadFailure("<IntegrityManifest><File><Path>x</Path><Hash algorithm='MD5'/></File>"
                          "</IntegrityManifest>")
                  .message,
              "XML attribute algorithm has invalid value: MD5");
    const Failure check = LoadFailure(Manifest1("\n<File path='a'>\n <Check type='sha256'/></File>"));
    EXPECT_EQ(check.message, "Invalid name: sha256");
    EXPECT_EQ(check.row, 3);
    EXPECT_EQ(check.column, 2);
    EXPECT_EQ(LoadFailure(Manifest1("<Files><File arch='x64'/></Files>")).message,
              "Invalid name: x64");
    EXPECT_EQ(LoadFailure("<Config><Other/></Config>").message, "XML node Manifest is absent");
    const Failure parse = LoadFailure("<Manifest>\n  <File path='a'>\n</Manifest>");
    EXPECT_EQ(parse.message, "Error reading end tag.");
    EXPECT_GT(parse.row, 0);
    // Of several faulty entries the first in the document is reported, not
    // the first in path order.
    const Failure first = LoadFailure(
        Manifest1("\n<File path='/z' arch='x64'/>\n<File path='/a' minVersionNt='bad'/>"));
    EXPECT_EQ(first.message, "Invalid name: x64");
    EXPECT_EQ(first.row, 2);
}

TEST(XmlFileTest, BooleanAttributesAcceptOnlyTrueAndFalse)
{
    TiXmlElement element("E");
    element.SetAttribute("yes", "true");
    element.SetAttribute("bad", "True");
    EXPECT_TRUE(File::LoadBoolAttr(element, "yes"));
    EXPECT_FALSE(File::LoadBoolAttr(element, "absent"));
    EXPECT_THROW(File::LoadBoolAttr(element, "bad"), Exception);
}

TEST(XmlFileTest, WritesFourBlankIndentationAndOnlyPresentFields)
{
    Manifest manifest;
    manifest.productName = "P";
    FileInfo file = test::File("/a", {test::Check(CheckType::Exists),
                                      test::Check(CheckType::Sha256, {1, 2, 3})});
    file.minVersionNt = 2560;
    manifest.files = {file};
    EXPECT_EQ(File::Print(manifest), R"(<Manifest productName="P">
    <File minVersionNt="2560" path="/a">
        <Check type="Exists" />
        <Check type="Sha256" value="AQID" />
    </File>
</Manifest>
)");
}

TEST(XmlFileTest, RoundTripGivesAnEqualManifest)
{
    Manifest manifest;
    manifest.productName = "Agent & <Co> \"quoted\"";
    manifest.productVersion = "1.0";
    manifest.generationDateTime = "2024-01-01T00:00:00";
    manifest.environments.push_back({{}, "Bin", "%ProductRoot%/bin"});
    manifest.environments.back().arch = Arch::E2K64;
    FileInfo file = test::File("/caf\xE9/\xFF\xFEname", {test::Check(CheckType::Gost2012, Blob(64, 7))});
    file.maxVersionNt = 1000;
    file.osEdition = OsEdition::Server;
    manifest.files = {file, test::File("/tab\there\nnewline")};
    manifest.directories.resize(1);
    manifest.directories[0].path = "/opt/x";
    manifest.directories[0].os = Os::MacOS;
    manifest.directories[0].files = {test::File("lib/a.so", {test::Check(CheckType::NotExists)})};
    manifest.registries.resize(1);
    manifest.registries[0].path = "HKLM\\Soft";
    manifest.registries[0].values = {
        test::Value("v", RegistryType::QwordLittleEndian, {test::Check(CheckType::Value, {0})})};

    test::TempDir directory;
    const Path path = directory / "m.xml";
    File().StoreToFile(path, manifest);
    Manifest reread;
    File().LoadFromFile(path, reread);
    EXPECT_EQ(reread, manifest);
}

TEST(XmlFileTest, BadInputEndsWithAMessage)
{
    std::string garbage;
    for (int i = 0; i < 4096; ++i) {
        garbage += static_cast<char>((i * 7919) % 251 + 1);
    }
    EXPECT_NE(LoadFailure(garbage).message, "no exception");
    EXPECT_EQ(LoadFailure("").message, "Error document empty.");
    EXPECT_NE(LoadFailure(Manifest1("<File path='/a'><Check type=").substr(0, 30)).message,
              "no exception");
    EXPECT_NE(LoadFailure(std::string(1000, '<') + "a>").message, "no exception");

    std::string deep;
    for (int i = 0; i < 100000; ++i) {
        deep += "<a>";
    }
    EXPECT_EQ(LoadFailure(deep).message, "XML elements are nested deeper than 64 levels");

    const std::string huge(1 << 20, 'x');
    EXPECT_EQ(Load(Manifest1("<File path='" + huge + "'/>")).files[0].path, huge);
}

TEST(XmlFileTest, ManyEntriesLoadInPathOrder)
{
    std::string body;
    for (int i = 3000; i > 0; --i) {
        body += "<File path='/d/f" + std::to_string(i) + "'><Check type='Exists'/></File>";
    }
    const Manifest manifest = Load(Manifest1(body));
    ASSERT_EQ(manifest.files.size(), 3000u);
    EXPECT_EQ(manifest.files[0].path, "/d/f1");
    EXPECT_EQ(manifest.files[1].path, "/d/f10");
}

}  // namespace
}  // namespace integrity_check_tool::xml
