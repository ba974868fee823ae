#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <zel/memory_io.h>

#include "action/verify.h"
#include "format.h"
#include "hash/sha256.h"
#include "support/fake_factory.h"
#include "support/manifest_builder.h"
#include "support/temp_dir.h"

namespace integrity_check_tool::test {
namespace {

Blob Bytes(std::string_view text)
{
    return Blob(text.begin(), text.end());
}

/// Failed/skipped/succeeded per kind: manifests, files, directories,
/// registry keys and registry values.
std::string Counts(const Statistics& statistics)
{
    std::string text;
    for (const ObjectKind kind : {ObjectKind::Manifest, ObjectKind::File, ObjectKind::Directory,
                                  ObjectKind::RegistryKey, ObjectKind::RegistryValue}) {
        const Statistics::Counts& counts = statistics.Get(kind);
        text += Format("%1%/%2%/%3% ", counts.failed, counts.skipped, counts.succeeded);
    }
    text.pop_back();
    return text;
}

/// What the console showed before the summary.
std::string Report(const RecordingConsole& console)
{
    return console.text.substr(0, console.text.find("====="));
}

struct Outcome {
    bool succeeded;
    std::string report;
    std::string counts;
};

/// Verifies `manifests` (the first is the merge target) over `files`.
Outcome RunVerify(const std::vector<std::pair<std::string, Manifest>>& manifests,
                  std::map<std::string, std::string> files)
{
    const auto factory = std::make_shared<FakeFactory>();
    factory->files = std::move(files);
    std::vector<Path> paths;
    for (const auto& [path, manifest] : manifests) {
        factory->storage->manifests[path] = manifest;
        paths.emplace_back(path);
    }
    const bool succeeded = action::Verify(nullptr, factory, paths).Run();
    return {succeeded, Report(*factory->console), Counts(*factory->statistics)};
}

Manifest WithFiles(std::initializer_list<FileInfo> files)
{
    Manifest manifest;
    manifest.files = files;
    return manifest;
}

FileInfo ForArch(FileInfo file, Arch arch)
{
    file.arch = arch;
    return file;
}

TEST(VerifyTest, OutcomeOfEachKindOfEntry)
{
    const CheckInfoPtr valueA = Check(CheckType::Value, Bytes("A"));
    const CheckInfoPtr exists = Check(CheckType::Exists);

    Manifest registry;
    RegistryKeyInfo key;
    key.path = "HKLM\\Soft";
    RegistryValueInfo value;
    value.name = "Ver";
    value.checks = {exists};
    key.values = {value};
    registry.registries.push_back(key);

    Manifest directory;
    directory.environments.push_back(EnvironmentInfo{{}, "Root", "/memory/root"});
    DirectoryInfo lib;
    lib.path = "%Root%/lib";
    lib.files = {File("a", {valueA}), File("gone", {exists})};
    directory.directories.push_back(lib);

    const struct {
        const char* name;
        std::vector<std::pair<std::string, Manifest>> manifests;
        std::map<std::string, std::string> files;
        Outcome expected;
    } cases[] = {
        {"manifests merge into the first; a file listed twice is checked once",
         {{"/m/one", WithFiles({File("/memory/a", {valueA})})},
          {"/m/two", WithFiles({File("/memory/a", {valueA}), File("/memory/b", {exists})})}},
         {{"/memory/a", "A"}, {"/memory/b", ""}},
         {true, "file /memory/a succeeded\nfile /memory/b succeeded\nmanifest /m/one succeeded\n",
          "0/0/1 0/0/2 0/0/0 0/0/0 0/0/0"}},
        {"a failing file fails the manifest, the files after it are still checked",
         {{"/m/one", WithFiles({File("/memory/a", {valueA}), File("/memory/b", {exists}),
                                File("/memory/c", {valueA})})}},
         {{"/memory/a", "changed"}, {"/memory/c", "A"}},
         {false,
          "file /memory/a failed. Reason: Verification mismatch with 'Value' checker. Reason: "
          "File /memory/a has unexpected value\n"
          "file /memory/b failed. Reason: Verification mismatch with 'Exists' checker. Reason: "
          "File /memory/b not exists.\n"
          "file /memory/c succeeded\n"
          "manifest /m/one failed. Reason: Verification of manifest /m/one failed\n",
          "1/0/0 2/0/1 0/0/0 0/0/0 0/0/0"}},
        {"a manifest whose entries are all filtered succeeds",
         {{"/m/one", WithFiles({ForArch(File("/memory/a", {valueA}), Arch::ARM64),
                                ForArch(File("/memory/b", {exists}), Arch::E2K64)})}},
         {},
         {true, "file /memory/a filtered\nfile /memory/b filtered\nmanifest /m/one succeeded\n",
          "0/0/1 0/2/0 0/0/0 0/0/0 0/0/0"}},
        {"registry values fail with the platform's reason",
         {{"/m/one", registry}},
         {},
         {false,
          "registry value Ver failed. Reason: Registry not supported on this platform\n"
          "registry path HKLM\\Soft failed. Reason: Verification of registry path HKLM\\Soft "
          "failed\n"
          "manifest /m/one failed. Reason: Verification of manifest /m/one failed\n",
          "1/0/0 0/0/0 0/0/0 1/0/0 1/0/0"}},
        {"a directory's files are found under its expanded path; one failing fails it",
         {{"/m/one", directory}},
         {{"/memory/root/lib/a", "A"}},
         {false,
          "file /memory/root/lib/a succeeded\n"
          "file /memory/root/lib/gone failed. Reason: Verification mismatch with 'Exists' "
          "checker. Reason: File /memory/root/lib/gone not exists.\n"
          "directory /memory/root/lib failed. Reason: Verification of directory "
          "/memory/root/lib failed\n"
          "manifest /m/one failed. Reason: Verification of manifest /m/one failed\n",
          "1/0/0 1/0/1 1/0/0 0/0/0 0/0/0"}},
    };
    for (const auto& test : cases) {
        const Outcome outcome = RunVerify(test.manifests, test.files);
        EXPECT_EQ(outcome.succeeded, test.expected.succeeded) << test.name;
        EXPECT_EQ(outcome.report, test.expected.report) << test.name;
        EXPECT_EQ(outcome.counts, test.expected.counts) << test.name;
    }
}

// More files than the read-ahead window, listed by two manifests that
// overlap: each file is hashed and reported once, in order, and only the
// changed and the missing one fail, whatever the number of threads.
TEST(VerifyTest, HashesOfManyFilesFromOverlappingManifests)
{
    TempDir dir;
    constexpr int kFiles = 150;
    Manifest first;
    Manifest second;
    std::string expected;
    for (int i = 0; i < kFiles; ++i) {
        const std::string content = "content " + std::to_string(i);
        const std::string path = (dir / Format("f%03d", i)).string();
        const Blob digest =
            openssl::GetSha256()->CalculateHash(zel::MakeIntrusive<zel::MemoryIO>(Bytes(content)));
        if (i != 120) {
            WriteFile(path, i == 70 ? "changed" : content);
        }
        const FileInfo file = File(path, {Check(CheckType::Sha256, digest)});
        if (i < 100) {
            first.files.Insert(file);
        }
        if (i >= 40) {
            second.files.Insert(file);
        }
        expected += "file " + path + (i == 70 || i == 120 ? " failed\n" : " succeeded\n");
    }
    const auto factory = std::make_shared<FakeFactory>();
    factory->storage->manifests = {{"/m/one", first}, {"/m/two", second}};

    EXPECT_FALSE(action::Verify(nullptr, factory, {"/m/one", "/m/two"}).Run());

    std::string report;
    std::istringstream lines(Report(*factory->console));
    for (std::string line; std::getline(lines, line);) {
        report += line.substr(0, line.find('.', line.find(" failed"))) + "\n";
    }
    EXPECT_EQ(report, expected + "manifest /m/one failed\n");
    EXPECT_EQ(Counts(*factory->statistics), "1/0/0 2/0/148 0/0/0 0/0/0 0/0/0");
}

}  // namespace
}  // namespace integrity_check_tool::test
