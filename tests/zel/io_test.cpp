#include <gtest/gtest.h>
#include <zel/file_io.h>

#include "support/temp_dir.h"

namespace zel {
namespace {

using integrity_check_tool::test::TempDir;
using integrity_check_tool::test::WriteFile;

/// Bytes that differ from those 256 places on, so a misplaced read shows.
std::string Pattern(std::size_t size)
{
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>((i * 7 + i / 256) & 0xFF);
    }
    return text;
}

std::string ReadAll(IIO& io, std::size_t chunk)
{
    std::string out;
    std::string buffer(chunk, '\0');
    for (std::size_t got = 1; got != 0; out.append(buffer, 0, got)) {
        got = 0;
        EXPECT_EQ(io.Read(buffer.data(), buffer.size(), &got), kOk);
    }
    return out;
}

// Small files are read through a read-ahead buffer, files past
// kBackgroundReadSize on a thread of their own. Every read size gives the same
// bytes, and a seek accounts for what is buffered and leaves the reading
// thread behind wherever it had got to.
TEST(FileIOTest, ReadsAndSeeksGiveTheFileBytes)
{
    TempDir dir;
    const std::string small = Pattern(100'000);
    const std::string large = Pattern(FileIO::kBackgroundReadSize + 123'457);
    WriteFile(dir / "small", small);
    WriteFile(dir / "large", large);
    const auto open = [&](const char* name, std::size_t readAhead = FileIO::kDefaultReadAhead) {
        IIOPtr io;
        EXPECT_EQ(FileIO::Open((dir / name).string(), OpenMode::Read, io, readAhead), kOk);
        return io;
    };
    for (std::size_t readAhead : {std::size_t{1}, std::size_t{4096}, std::size_t{65536}}) {
        for (std::size_t chunk :
             {std::size_t{1}, std::size_t{4095}, std::size_t{4096}, std::size_t{70'000}}) {
            EXPECT_EQ(ReadAll(*open("small", readAhead), chunk), small)
                << readAhead << "/" << chunk;
        }
    }
    for (std::size_t chunk : {std::size_t{4096}, std::size_t{3'000'001}}) {
        EXPECT_TRUE(ReadAll(*open("large"), chunk) == large) << chunk;
    }

    for (const auto& [name, content] : {std::pair{"small", small}, std::pair{"large", large}}) {
        SCOPED_TRACE(name);
        const IIOPtr io = open(name, 4096);
        char buffer[10];
        std::size_t got = 0;
        ASSERT_EQ(io->Read(buffer, sizeof buffer, &got), kOk);
        std::uint64_t position = 0;
        ASSERT_EQ(io->Seek(5, SeekOrigin::Current, &position), kOk);
        EXPECT_EQ(position, 15u);
        ASSERT_EQ(io->Read(buffer, 1, &got), kOk);
        EXPECT_EQ(buffer[0], content[15]);
        ASSERT_EQ(io->Seek(-6, SeekOrigin::Current, &position), kOk);
        EXPECT_EQ(position, 10u);
        EXPECT_TRUE(ReadAll(*io, 65536) == content.substr(10));
        ASSERT_EQ(io->Seek(-10, SeekOrigin::End, &position), kOk);
        EXPECT_EQ(ReadAll(*io, 4096), content.substr(content.size() - 10));
        std::uint64_t size = 0;
        ASSERT_EQ(io->GetSize(&size), kOk);
        EXPECT_EQ(size, content.size());
    }
    // Closing before the end stops the reading thread.
    std::size_t got = 0;
    char buffer[10];
    ASSERT_EQ(open("large")->Read(buffer, sizeof buffer, &got), kOk);
}

// A file never yields more than its size at opening, on any read path: one
// that grows is an error, not an endless stream.
TEST(FileIOTest, FilesThatGrowWhileReadFail)
{
    TempDir dir;
    const struct {
        const char* path;
        std::size_t size;
        std::size_t readAhead;
        std::size_t chunk;
    } cases[] = {
        {"buffered", 100'000, 4096, 1000},
        {"direct", 100'000, 4096, 70'000},
        {"whole", 100, FileIO::kDefaultReadAhead, 4096},
        {"background", FileIO::kBackgroundReadSize + 10, FileIO::kDefaultReadAhead, 65536},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        const std::string path = (dir / c.path).string();
        WriteFile(path, std::string(c.size, 'a'));
        IIOPtr io;
        ASSERT_EQ(FileIO::Open(path, OpenMode::Read, io, c.readAhead), kOk);
        WriteFile(path, std::string(c.size + 1, 'b'));
        std::string buffer(c.chunk, '\0');
        std::uint64_t total = 0;
        Result result = kOk;
        for (std::size_t got = 1; result == kOk && got != 0; total += got) {
            got = 0;
            result = io->Read(buffer.data(), buffer.size(), &got);
        }
        EXPECT_EQ(result, kChangedWhileRead);
        EXPECT_LE(total, c.size);
    }
    IIOPtr io;
    EXPECT_EQ(FileIO::Open("/proc/self/pagemap", OpenMode::Read, io), kPseudoFile);
    EXPECT_EQ(ResultMessage(kPseudoFile), "File is on a pseudo file system");
    EXPECT_EQ(ResultMessage(kChangedWhileRead), "File changed while being read");
}

}  // namespace
}  // namespace zel
