#include <gtest/gtest.h>

#include "manifest/json.h"
#include "manifest/manifest.h"
#include "support/manifest_builder.h"

namespace integrity_check_tool {
namespace {

TEST(JsonTest, EmptyManifestRendersEmptyLists)
{
    EXPECT_EQ(ToJson(Manifest{}), R"({
    "productName": "",
    "productVersion": "",
    "generationDateTime": "",
    "environments": "",
    "files": "",
    "directories": "",
    "registries": ""
}
)");
}

TEST(JsonTest, FullManifestRendersEveryKeyAsString)
{
    Manifest manifest;
    manifest.productName = "Agent";
    manifest.productVersion = "1.0.0.1";
    manifest.generationDateTime = "2024-01-02 03:04:05";
    manifest.environments.push_back({{}, "Bin", "%ProductRoot%/bin"});
    FileInfo file = test::File("%Bin%/agent", {test::Check(CheckType::Sha256, {0}),
                                               test::Check(CheckType::Exists)});
    file.bitness = Bitness::Bits64;
    file.minVersionNt = 1537;
    manifest.files = {file, test::File("/empty")};
    DirectoryInfo directory;
    directory.path = "/d";
    directory.os = Os::Linux;
    directory.osEdition = OsEdition::Server;
    manifest.directories.push_back(directory);
    RegistryKeyInfo key;
    key.path = "HKLM";
    key.values = {test::Value("v", RegistryType::Sz, {test::Check(CheckType::Value, {0, 0})})};
    manifest.registries.push_back(key);

    EXPECT_EQ(ToJson(manifest), R"({
    "productName": "Agent",
    "productVersion": "1.0.0.1",
    "generationDateTime": "2024-01-02 03:04:05",
    "environments": [
        {
            "key": "Bin",
            "value": "%ProductRoot%\/bin"
        }
    ],
    "files": [
        {
            "bitness": "64",
            "minVersionNt": "1537",
            "path": "%Bin%\/agent",
            "checks": [
                {
                    "type": "Sha256",
                    "value": "AA=="
                },
                {
                    "type": "Exists",
                    "value": ""
                }
            ]
        },
        {
            "path": "\/empty",
            "checks": ""
        }
    ],
    "directories": [
        {
            "os": "Linux",
            "osEdition": "Server",
            "path": "\/d",
            "files": ""
        }
    ],
    "registries": [
        {
            "path": "HKLM",
            "values": [
                {
                    "name": "v",
                    "type": "REG_SZ",
                    "checks": [
                        {
                            "type": "Value",
                            "value": "AAA="
                        }
                    ]
                }
            ]
        }
    ]
}
)");
}

}  // namespace
}  // namespace integrity_check_tool
