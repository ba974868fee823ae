#include "updater/storage.h"

#include <sys/stat.h>
#include <zlib.h>

#include <cerrno>
#include <vector>

#include <zel/file_io.h>
#include <zel/memory_io.h>

namespace updater {

namespace {

/// zlib (RFC 1950: CMF 0x78, header checksum) or gzip (RFC 1952) header.
bool IsCompressed(const std::uint8_t* header, std::size_t size)
{
    if (size < 2) {
        return false;
    }
    if (header[0] == 0x1F && header[1] == 0x8B) {
        return true;
    }
    return header[0] == 0x78 && (header[0] * 256 + header[1]) % 31 == 0;
}

zel::Result Inflate(const std::vector<std::uint8_t>& compressed, std::vector<std::uint8_t>& plain)
{
    z_stream stream{};
    // 15 + 32: accept both zlib and gzip wrappers.
    if (inflateInit2(&stream, 15 + 32) != Z_OK) {
        return zel::kOutOfMemory;
    }
    stream.next_in = const_cast<Bytef*>(compressed.data());
    stream.avail_in = static_cast<uInt>(compressed.size());
    std::uint8_t chunk[64 * 1024];
    int status = Z_OK;
    zel::Result result = zel::kOk;
    while (status != Z_STREAM_END) {
        stream.next_out = chunk;
        stream.avail_out = sizeof(chunk);
        status = inflate(&stream, Z_NO_FLUSH);
        if (status != Z_OK && status != Z_STREAM_END) {
            result = zel::kUnexpectedEnd;
            break;
        }
        const std::size_t produced = sizeof(chunk) - stream.avail_out;
        if (plain.size() + produced > kMaxContainerSize) {
            result = zel::kTooLarge;
            break;
        }
        plain.insert(plain.end(), chunk, chunk + produced);
        if (produced == 0 && stream.avail_in == 0 && status != Z_STREAM_END) {
            result = zel::kUnexpectedEnd;
            break;
        }
    }
    inflateEnd(&stream);
    return result;
}

class DirectoryStorage final : public IStorage {
public:
    explicit DirectoryStorage(std::string directory) : directory_(std::move(directory)) {}

    zel::Result OpenContainer(const std::string& name, zel::IIOPtr& io) override
    {
        zel::IIOPtr file;
        zel::Result result = zel::FileIO::Open(directory_ + "/" + name, zel::OpenMode::Read, file);
        if (zel::Failed(result)) {
            return result;
        }
        std::uint8_t header[2];
        std::size_t read = 0;
        if (zel::Failed(result = file->Read(header, sizeof(header), &read))) {
            return result;
        }
        std::uint64_t position = 0;
        if (zel::Failed(result = file->Seek(0, zel::SeekOrigin::Begin, &position))) {
            return result;
        }
        std::uint64_t size = 0;
        if (zel::Failed(result = file->GetSize(&size))) {
            return result;
        }
        if (size > kMaxContainerSize) {
            return zel::kTooLarge;
        }
        if (!IsCompressed(header, read)) {
            io = std::move(file);
            return zel::kOk;
        }
        std::vector<std::uint8_t> compressed(static_cast<std::size_t>(size));
        std::size_t total = 0;
        while (total < compressed.size()) {
            if (zel::Failed(result = file->Read(compressed.data() + total,
                                                compressed.size() - total, &read))) {
                return result;
            }
            if (read == 0) {
                break;
            }
            total += read;
        }
        compressed.resize(total);
        std::vector<std::uint8_t> plain;
        if (zel::Failed(result = Inflate(compressed, plain))) {
            return result;
        }
        io = zel::MakeIntrusive<zel::MemoryIO>(std::move(plain));
        return zel::kOk;
    }

private:
    std::string directory_;
};

}  // namespace

zel::Result OpenStorage(const std::string& directory, IStoragePtr& storage)
{
    struct stat status {};
    if (::stat(directory.c_str(), &status) != 0) {
        return zel::ResultFromErrno(errno);
    }
    if (!S_ISDIR(status.st_mode)) {
        return zel::ResultFromErrno(ENOTDIR);
    }
    storage = zel::MakeIntrusive<DirectoryStorage>(directory);
    return zel::kOk;
}

}  // namespace updater
