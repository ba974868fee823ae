#include <functional>
#include <string>

#include <boost/algorithm/string/replace.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <gtest/gtest.h>
#include <zel/memory_io.h>

#include "action/generate.h"
#include "format.h"
#include "hash/gost2012.h"
#include "hash/sha256.h"
#include "manifest/json.h"
#include "support/fake_factory.h"
#include "support/manifest_builder.h"
#include "support/temp_dir.h"

namespace integrity_check_tool::test {
namespace {

class FixedClock final : public action::IClock {
public:
    boost::posix_time::ptime Now() const override
    {
        return {boost::gregorian::date(2024, 1, 2), boost::posix_time::time_duration(3, 4, 5)};
    }
};

Blob Bytes(std::string_view text)
{
    return Blob(text.begin(), text.end());
}

Blob Digest(CheckType type, std::string_view content)
{
    const IHashPtr hash =
        type == CheckType::Sha256 ? openssl::GetSha256() : IHashPtr(vorn::GetGost2012());
    return hash->CalculateHash(zel::MakeIntrusive<zel::MemoryIO>(Bytes(content)));
}

/// A generation of the manifest "/m/in" into "/m/out" over files in a fresh
/// directory, which the manifest knows as %Root%.
class GenerateTest : public testing::Test {
protected:
    GenerateTest()
    {
        input_.environments.push_back(EnvironmentInfo{{}, "Root", dir_.path().string()});
    }

    bool Run(CheckType type)
    {
        factory_->storage->manifests["/m/in"] = input_;
        Config::Generate config;
        config.configPath = "/m/in";
        config.manifestPath = "/m/out";
        config.checkType = type;
        return action::Generate(nullptr, factory_, config, std::make_shared<FixedClock>()).Run();
    }

    /// What the console showed before the summary, the directory as <dir>.
    std::string Report() const
    {
        std::string text = factory_->console->text.substr(0, factory_->console->text.find("====="));
        boost::replace_all(text, dir_.path().string(), "<dir>");
        return text;
    }

    TempDir dir_;
    Manifest input_;
    std::shared_ptr<FakeFactory> factory_ = std::make_shared<FakeFactory>();
};

// Values already given are kept and their files never opened; entries that
// do not apply are left as they are; paths keep their placeholders.
TEST_F(GenerateTest, FillsOnlyMissingValuesWithTheConfiguredType)
{
    constexpr int kFound = 80;  // more than the read-ahead keeps in flight
    WriteFile(dir_ / "a", "abc");
    WriteFile(dir_ / "c", "see");
    WriteFile(dir_ / "lib/x", "x");
    for (int i = 0; i < kFound; ++i) {
        WriteFile(dir_ / Format("lib/f%03d", i), std::to_string(i));
    }
    FileInfo filtered = File("%Root%/arm");
    filtered.arch = Arch::ARM64;
    input_.files = {File("%Root%/a"), filtered,
                    File("%Root%/b", {Check(CheckType::Sha256, Bytes("kept"))}),
                    File("%Root%/c", {Check(CheckType::Exists), Check(CheckType::Value)})};
    DirectoryInfo lib;
    lib.path = "%Root%/lib";
    lib.files = {File("x", {Check(CheckType::Value, Bytes("old"))})};
    input_.directories.push_back(lib);

    for (const CheckType type : {CheckType::Sha256, CheckType::Gost2012}) {
        SCOPED_TRACE(ToName(type));
        factory_ = std::make_shared<FakeFactory>();
        ASSERT_TRUE(Run(type)) << Report();

        Manifest expected = input_;
        expected.generationDateTime = "2024-01-02T03:04:05";
        expected.files = {
            File("%Root%/a", {Check(type, Digest(type, "abc"))}), filtered,
            File("%Root%/b", {Check(CheckType::Sha256, Bytes("kept"))}),
            File("%Root%/c", {Check(CheckType::Exists), Check(CheckType::Value, Bytes("see"))})};
        for (int i = 0; i < kFound; ++i) {
            expected.directories[0].files.Insert(
                File(Format("f%03d", i), {Check(type, Digest(type, std::to_string(i)))}));
        }
        ASSERT_EQ(factory_->storage->stored.size(), 1u);
        EXPECT_EQ(factory_->storage->stored[0].first, "/m/out");
        EXPECT_EQ(ToJson(factory_->storage->stored[0].second), ToJson(expected));
        EXPECT_EQ(Format("%1%/%2%/%3%", factory_->statistics->Get(ObjectKind::File).failed,
                         factory_->statistics->Get(ObjectKind::File).skipped,
                         factory_->statistics->Get(ObjectKind::File).succeeded),
                  Format("0/1/%1%", 4 + kFound));
    }
}

// One failing entry fails the manifest, and nothing is written; the other
// entries are still processed.
TEST_F(GenerateTest, AnyFailureStoresNothing)
{
    WriteFile(dir_ / "a", "abc");
    RegistryKeyInfo key;
    key.path = "HKLM\\Soft";
    RegistryValueInfo value;
    value.name = "Ver";
    key.values = {value};
    DirectoryInfo missing;
    missing.path = "%Root%/nodir";

    const struct {
        const char* name;
        std::function<void(Manifest&)> add;
        std::string report;
    } cases[] = {
        {"an unreadable file",
         [](Manifest& manifest) { manifest.files.Insert(File("%Root%/gone")); },
         "file %Root%/a succeeded\n"
         "file %Root%/gone failed. Reason: Can't read or access file <dir>/gone. Reason: No such "
         "file or directory\n"},
        {"a directory that cannot be listed",
         [&](Manifest& manifest) { manifest.directories.push_back(missing); },
         "file %Root%/a succeeded\n"
         "directory %Root%/nodir failed. Reason: Can't read or access file <dir>/nodir. Reason: "
         "No such file or directory\n"},
        {"a registry value", [&](Manifest& manifest) { manifest.registries.push_back(key); },
         "file %Root%/a succeeded\n"
         "registry value Ver failed. Reason: Registry not supported on this platform\n"
         "registry path HKLM\\Soft failed. Reason: Generation of registry path HKLM\\Soft "
         "failed\n"},
    };
    for (const auto& test : cases) {
        factory_ = std::make_shared<FakeFactory>();
        input_.files = {File("%Root%/a")};
        input_.directories.clear();
        input_.registries.clear();
        test.add(input_);
        EXPECT_FALSE(Run(CheckType::Sha256)) << test.name;
        EXPECT_EQ(Report(), test.report +
                                "manifest /m/out failed. Reason: Generation of manifest /m/out "
                                "failed\n")
            << test.name;
        EXPECT_TRUE(factory_->storage->stored.empty()) << test.name;
    }
}

}  // namespace
}  // namespace integrity_check_tool::test
