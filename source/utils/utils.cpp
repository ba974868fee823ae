#include "utils/utils.h"

#include <locale>
#include <stdexcept>

#include <boost/filesystem/path.hpp>
#include <zel/available_memory.h>
#include <zel/exception.h>
#include <zel/file_io.h>

#include "format.h"

namespace integrity_check_tool {

std::string VersionLine()
{
    return Format("Version %1%", ICT_VERSION_TEXT);
}

std::string SchemaLine()
{
    return Format("Schema version: %1%", kSchemaVersion);
}

void SetUpGlobalLocale()
{
    try {
        std::locale::global(std::locale(""));
    } catch (const std::runtime_error&) {
        // An unknown LANG leaves the classic locale; paths stay byte strings.
    }
    boost::filesystem::path::imbue(std::locale());
}

Blob ReadWholeStream(zel::IIO& io, std::uint64_t limit)
{
    std::uint64_t size = 0;
    Blob content;
    if (zel::Succeeded(io.GetSize(&size))) {
        if (size > limit) {
            ZEL_CHECK(zel::kTooLarge);
        }
        if (!zel::FitsInMemory(size)) {
            ZEL_CHECK(zel::kOutOfMemory);
        }
        if (size < (std::uint64_t{1} << 32)) {
            content.reserve(static_cast<std::size_t>(size));
        }
    }
    std::uint8_t chunk[64 * 1024];
    for (;;) {
        std::size_t got = 0;
        ZEL_CHECK(io.Read(chunk, sizeof chunk, &got));
        if (got == 0) {
            break;
        }
        // A file that grows while it is read must not exhaust memory either.
        if (got > limit - content.size()) {
            ZEL_CHECK(zel::kTooLarge);
        }
        content.insert(content.end(), chunk, chunk + got);
    }
    return content;
}

Blob ReadWholeFile(const Path& path)
{
    zel::IIOPtr io;
    ZEL_CHECK(zel::FileIO::Open(path.string(), zel::OpenMode::Read, io));
    std::uint64_t size = 0;
    ZEL_CHECK(io->GetSize(&size));
    if (size > Blob().max_size()) {
        ZEL_CHECK(zel::kTooLarge);
    }
    return ReadWholeStream(*io);
}

}  // namespace integrity_check_tool
