#include <gtest/gtest.h>
#include <zel/file_io.h>
#include <zel/memory_io.h>

#include "support/temp_dir.h"

namespace zel {
namespace {

using integrity_check_tool::test::TempDir;
using integrity_check_tool::test::WriteFile;

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
    for (;;) {
        std::size_t got = 0;
        EXPECT_EQ(io.Read(buffer.data(), buffer.size(), &got), kOk);
        if (got == 0) {
            return out;
        }
        out.append(buffer, 0, got);
    }
}

TEST(FileIOTest, ReadAheadGivesTheSameBytesForAnyReadSize)
{
    TempDir dir;
    const std::string content = Pattern(100'000);
    WriteFile(dir / "data", content);
    for (std::size_t readAhead : {std::size_t{1}, std::size_t{4096}, std::size_t{65536}}) {
        for (std::size_t chunk : {std::size_t{1}, std::size_t{4095}, std::size_t{4096}, std::size_t{70'000}}) {
            IIOPtr io;
            ASSERT_EQ(FileIO::Open((dir / "data").string(), OpenMode::Read, io, readAhead), kOk);
            EXPECT_EQ(ReadAll(*io, chunk), content) << readAhead << "/" << chunk;
        }
    }
}

TEST(FileIOTest, SeekAccountsForBufferedBytes)
{
    TempDir dir;
    const std::string content = Pattern(10'000);
    WriteFile(dir / "data", content);
    IIOPtr io;
    ASSERT_EQ(FileIO::Open((dir / "data").string(), OpenMode::Read, io, 4096), kOk);
    char buffer[10];
    std::size_t got = 0;
    ASSERT_EQ(io->Read(buffer, sizeof buffer, &got), kOk);
    std::uint64_t position = 0;
    ASSERT_EQ(io->Seek(5, SeekOrigin::Current, &position), kOk);
    EXPECT_EQ(position, 15u);
    ASSERT_EQ(io->Read(buffer, 1, &got), kOk);
    EXPECT_EQ(buffer[0], content[15]);
    std::uint64_t size = 0;
    ASSERT_EQ(io->GetSize(&size), kOk);
    EXPECT_EQ(size, content.size());
}

TEST(FileIOTest, LargeFilesReadOnAThreadOfTheirOwnGiveTheSameBytesAndSeek)
{
    TempDir dir;
    const std::string content = Pattern(FileIO::kBackgroundReadSize + 123'457);
    WriteFile(dir / "large", content);
    for (std::size_t chunk : {std::size_t{4096}, std::size_t{3'000'001}}) {
        IIOPtr io;
        ASSERT_EQ(FileIO::Open((dir / "large").string(), OpenMode::Read, io), kOk);
        EXPECT_TRUE(ReadAll(*io, chunk) == content) << chunk;
    }
    // A seek leaves the reading thread behind, wherever it had got to.
    IIOPtr io;
    ASSERT_EQ(FileIO::Open((dir / "large").string(), OpenMode::Read, io), kOk);
    std::string buffer(5'000'000, '\0');
    std::size_t got = 0;
    ASSERT_EQ(io->Read(buffer.data(), 4096, &got), kOk);
    ASSERT_EQ(got, 4096u);
    std::uint64_t position = 0;
    ASSERT_EQ(io->Seek(-96, SeekOrigin::Current, &position), kOk);
    EXPECT_EQ(position, 4000u);
    EXPECT_TRUE(ReadAll(*io, 65536) == content.substr(4000));
    ASSERT_EQ(io->Seek(-10, SeekOrigin::End, &position), kOk);
    EXPECT_EQ(ReadAll(*io, 4096), content.substr(content.size() - 10));
    // Closing before the end stops the thread.
    IIOPtr partial;
    ASSERT_EQ(FileIO::Open((dir / "large").string(), OpenMode::Read, partial), kOk);
    ASSERT_EQ(partial->Read(buffer.data(), 10, &got), kOk);
    EXPECT_EQ(buffer.substr(0, 10), content.substr(0, 10));
}

TEST(FileIOTest, OpenFailuresCarryTheSystemError)
{
    TempDir dir;
    IIOPtr io;
    const Result missing = FileIO::Open((dir / "missing").string(), OpenMode::Read, io);
    EXPECT_TRUE(Failed(missing));
    EXPECT_EQ(ResultMessage(missing), "No such file or directory");
    EXPECT_EQ(ResultMessage(FileIO::Open(dir.path().string(), OpenMode::Read, io)), "Is a directory");
    EXPECT_EQ(FileIO::Open("/dev/null", OpenMode::Read, io), kNotRegularFile);
    EXPECT_FALSE(io);
}

TEST(FileIOTest, WriteThenReadBack)
{
    TempDir dir;
    const std::string path = (dir / "out").string();
    IIOPtr io;
    ASSERT_EQ(FileIO::Open(path, OpenMode::CreateAlways, io), kOk);
    std::size_t written = 0;
    ASSERT_EQ(io->Write("hello", 5, &written), kOk);
    EXPECT_EQ(written, 5u);
    io.reset();
    ASSERT_EQ(FileIO::Open(path, OpenMode::Read, io), kOk);
    EXPECT_EQ(ReadAll(*io, 3), "hello");
}

TEST(MemoryIOTest, ReadWriteSeekAndBounds)
{
    MemoryIO io;
    ASSERT_EQ(io.Write("abcdef", 6, nullptr), kOk);
    std::uint64_t position = 0;
    ASSERT_EQ(io.Seek(2, SeekOrigin::Begin, &position), kOk);
    ASSERT_EQ(io.Write("XY", 2, nullptr), kOk);
    ASSERT_EQ(io.Seek(-1, SeekOrigin::End, &position), kOk);
    EXPECT_EQ(position, 5u);
    EXPECT_EQ(io.Seek(-7, SeekOrigin::End, &position), kInvalidArgument);
    ASSERT_EQ(io.Seek(0, SeekOrigin::Begin, nullptr), kOk);
    EXPECT_EQ(ReadAll(io, 4), "abXYef");
    std::size_t got = 1;
    EXPECT_EQ(io.Read(nullptr, 0, &got), kOk);
    EXPECT_EQ(got, 0u);
}

}  // namespace
}  // namespace zel
