#include "config.h"

#include <gtest/gtest.h>

namespace integrity_check_tool {
namespace {

TEST(ConfigJsonTest, VerifyRecordWithoutOptionalKeys)
{
    Config config;
    Config::Verify& verify = config.verify.emplace();
    verify.manifestPaths = {"/b/m.xml", "/a/m.xml"};
    verify.signatureType = SignatureType::Vorn2;
    verify.signatureCheckMode = 2;  // never written
    config.logLevel = 600;
    EXPECT_EQ(ToJson(config), R"({
    "verify": {
        "isVerbose": "false",
        "manifestPaths": [
            "\/a\/m.xml",
            "\/b\/m.xml"
        ],
        "signatureType": "vorn2"
    },
    "logLevel": "600"
}
)");
}

TEST(ConfigJsonTest, TopLevelKeysFollowTheDocumentedOrder)
{
    Config config;
    config.displayVersion.emplace();
    config.logFile = Path("trace.log");
    config.logLevel = 800;
    Config::Verify& verify = config.verify.emplace();
    verify.isVerbose = true;
    verify.crlStoragePath = Path("crl");
    config.normalize.emplace().manifestPath = "n.xml";
    config.singleFileCheck.emplace() = {"file.bin", CheckType::Sha256};
    Config::Generate& generate = config.generate.emplace();
    generate.configPath = "in.xml";
    generate.manifestPath = "out.xml";
    generate.version = 419;
    generate.os = Os::Linux;
    generate.osEdition = OsEdition::Server;

    EXPECT_EQ(ToJson(config), R"({
    "normalize": {
        "manifestPath": "n.xml"
    },
    "verify": {
        "isVerbose": "true",
        "manifestPaths": "",
        "crlStoragePath": "crl",
        "signatureType": "lum"
    },
    "displayVersion": "DisplayVersion",
    "logFile": "trace.log",
    "logLevel": "800",
    "singleFileCheck": {
        "filePath": "file.bin",
        "checkType": "Sha256"
    },
    "generate": {
        "configPath": "in.xml",
        "manifestPath": "out.xml",
        "version": "419",
        "os": "Linux",
        "osEdition": "Server"
    }
}
)");
}

}  // namespace
}  // namespace integrity_check_tool
