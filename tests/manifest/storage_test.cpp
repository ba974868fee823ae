#include <gtest/gtest.h>

#include <zel/memory_io.h>

#include "config.h"
#include "exception.h"
#include "manifest/manifest.h"
#include "manifest/storage.h"
#include "support/manifest_builder.h"
#include "support/temp_dir.h"
#include "xml/file.h"

namespace integrity_check_tool {
namespace {

constexpr const char* kDuplicated = R"(<Manifest productName="P">
    <File path="/a"><Check type="Exists"/></File>
    <File path="/a"><Check type="Exists"/></File>
</Manifest>)";

zel::MemoryIO Memory(const std::string& text)
{
    return zel::MemoryIO(std::vector<std::uint8_t>(text.begin(), text.end()));
}

TEST(StorageTest, StreamLoadKeepsDuplicatesAndTracesOnlyAtDebugLevel)
{
    auto quiet = zel::MakeIntrusive<test::RecordingTracer>(kTraceDebug - 1);
    Manifest manifest;
    zel::MemoryIO stream = Memory(kDuplicated);
    Storage(std::make_shared<xml::File>(), quiet).LoadFromStream(stream, manifest);
    EXPECT_EQ(manifest.files.size(), 2u);
    EXPECT_TRUE(quiet->records.empty());

    auto debug = zel::MakeIntrusive<test::RecordingTracer>(kTraceDebug);
    Manifest traced;
    zel::MemoryIO again = Memory(kDuplicated);
    Storage(std::make_shared<xml::File>(), debug).LoadFromStream(again, traced);
    ASSERT_EQ(debug->records.size(), 1u);
    EXPECT_EQ(debug->records[0].rfind("Manifest loaded: {\n    \"productName\": \"P\",", 0), 0u);
}

TEST(StorageTest, FileLoadCollapsesAndStoreTracesWhatWasWritten)
{
    test::TempDir directory;
    const Path path = directory / "m.xml";
    test::WriteFile(path, kDuplicated);
    auto debug = zel::MakeIntrusive<test::RecordingTracer>(kTraceDebug);
    Storage storage(std::make_shared<xml::File>(), debug);

    Manifest manifest;
    storage.LoadFromFile(path, manifest);
    EXPECT_EQ(manifest.files.size(), 1u);
    const Path stored = directory / "out.xml";
    storage.StoreToFile(stored, manifest);

    ASSERT_EQ(debug->records.size(), 2u);
    EXPECT_EQ(debug->records[0].rfind("Manifest file " + path.string() + " loaded: {", 0), 0u);
    EXPECT_EQ(debug->records[1].rfind("Manifest file " + stored.string() + " stored: {", 0), 0u);
    Manifest reread;
    xml::File().LoadFromFile(stored, reread);
    EXPECT_EQ(reread, manifest);
}

TEST(StorageTest, FailedLoadWritesNoTrace)
{
    auto debug = zel::MakeIntrusive<test::RecordingTracer>(kTraceDebug);
    Manifest manifest;
    zel::MemoryIO stream = Memory("<Other/>");
    EXPECT_THROW(Storage(std::make_shared<xml::File>(), debug).LoadFromStream(stream, manifest),
                 Exception);
    EXPECT_TRUE(debug->records.empty());
}

}  // namespace
}  // namespace integrity_check_tool
