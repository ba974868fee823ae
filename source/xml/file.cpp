#include "xml/file.h"

#include <tinyxml.h>

#include <charconv>
#include <limits>
#include <vector>

#include <zel/available_memory.h>
#include <zel/exception.h>
#include <zel/file_io.h>

#include "exception.h"
#include "manifest/manifest.h"
#include "utils/atomic_file.h"
#include "xml/document_reader.h"
#include "xml/document_writer.h"
#include "xml/nesting.h"

namespace integrity_check_tool::xml {

namespace {

/// Peak memory of a load per byte of manifest text: 9.9 to 10.5 measured on
/// manifests of 100,000 to 1,400,000 entries (the text, the parsed document
/// and the model), with a margin so that a limit just above the estimate
/// cannot still end in the kernel's kill.
constexpr std::uint64_t kMemoryPerTextByte = 12;

/// The rest of `stream`, followed by kNestingPadding zero bytes; `size` gets
/// the number of bytes read.
std::vector<char> ReadAll(zel::IIO& stream, std::size_t& size)
{
    std::uint64_t expected = 0;
    ZEL_CHECK(stream.GetSize(&expected));
    if (expected > std::numeric_limits<std::size_t>::max() / 2) {
        ZEL_CHECK(zel::kTooLarge);
    }
    // Refuse up front what the machine cannot hold, rather than be killed
    // by the kernel half-way through the parse.
    if (expected > UINT64_MAX / kMemoryPerTextByte ||
        !zel::FitsInMemory(expected * kMemoryPerTextByte)) {
        ZEL_CHECK(zel::kOutOfMemory);
    }
    std::vector<char> buffer(static_cast<std::size_t>(expected) + kNestingPadding);
    size = 0;
    while (size < expected) {
        std::size_t count = 0;
        ZEL_CHECK(
            stream.Read(buffer.data() + size, static_cast<std::size_t>(expected) - size, &count));
        if (count == 0) {
            break;
        }
        size += count;
    }
    return buffer;
}

/// Parses hexadecimal after "0x"/"0X", else decimal; `negative` allows a leading "-".
template <class T> bool ParseNumber(const std::string& text, bool allowSign, T& value)
{
    const char* p = text.c_str();
    const char* end = p + text.size();
    while (p != end && (*p == ' ' || (*p >= '\t' && *p <= '\r'))) {
        ++p;
    }
    const bool negative = allowSign && p != end && *p == '-';
    if (negative) {
        ++p;
    }
    int base = 10;
    if (end - p >= 2 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) {
        base = 16;
        p += 2;
    }
    std::uint64_t magnitude = 0;
    const auto [stop, error] = std::from_chars(p, end, magnitude, base);
    if (error != std::errc() || stop == p) {
        return false;
    }
    if (negative) {
        const std::uint64_t limit = static_cast<std::uint64_t>(std::numeric_limits<T>::max()) + 1;
        if (magnitude > limit) {
            return false;
        }
        value = static_cast<T>(-static_cast<std::int64_t>(magnitude));
        return true;
    }
    if (magnitude > static_cast<std::uint64_t>(std::numeric_limits<T>::max())) {
        return false;
    }
    value = static_cast<T>(magnitude);
    return true;
}

}  // namespace

void File::Read(zel::IIO& stream, Manifest& manifest)
{
    std::size_t size = 0;
    std::vector<char> text = ReadAll(stream, size);
    // The parser recurses per element level; refuse what would exhaust the stack.
    if (MaxNesting(std::string_view(text.data(), size), kMaxNesting) > kMaxNesting) {
        ICT_THROW("XML elements are nested deeper than %1% levels", kMaxNesting);
    }
    TiXmlDocument document;
    document.Parse(text.data(), nullptr, TIXML_DEFAULT_ENCODING);
    std::vector<char>().swap(text);
    if (document.Error()) {
        BOOST_THROW_EXCEPTION(Exception(document.ErrorDesc())
                              << XmlRow(document.ErrorRow()) << XmlColumn(document.ErrorCol()));
    }
    ReadDocument(document, manifest);
}

std::string File::Print(const Manifest& manifest)
{
    return PrintDocument(manifest);
}

void File::Write(const Manifest& manifest, zel::IIO& stream)
{
    const std::string text = Print(manifest);
    std::size_t written = 0;
    while (written < text.size()) {
        std::size_t count = 0;
        ZEL_CHECK(stream.Write(text.data() + written, text.size() - written, &count));
        if (count == 0) {
            ZEL_CHECK(zel::kUnexpectedEnd);
        }
        written += count;
    }
}

void File::LoadFromStream(zel::IIO& stream, Manifest& manifest)
{
    Read(stream, manifest);
}

void File::LoadFromFile(const Path& path, Manifest& manifest)
{
    zel::IIOPtr stream;
    ZEL_CHECK(zel::FileIO::Open(path.string(), zel::OpenMode::Read, stream));
    Read(*stream, manifest);
}

void File::StoreToFile(const Path& path, const Manifest& manifest)
{
    AtomicFile file(path);
    file.Write(Print(manifest));
    file.Commit();
}

std::string File::LoadAttr(const TiXmlElement& element, const char* name)
{
    const std::string* value = element.Attribute(std::string(name));
    return value == nullptr ? std::string() : *value;
}

bool File::LoadBoolAttr(const TiXmlElement& element, const char* name)
{
    const char* value = element.Attribute(name);
    if (value == nullptr) {
        return false;
    }
    const std::string text(value);
    if (text == "true") {
        return true;
    }
    if (text != "false") {
        ICT_THROW("Invalid boolean value: %1%", text);
    }
    return false;
}

std::uint32_t File::ReadNumber(const std::string& text)
{
    std::uint32_t value = 0;
    if (!ParseNumber(text, false, value)) {
        ICT_THROW("Invalid number: %1%", text);
    }
    return value;
}

std::int32_t File::ReadSignedNumber(const std::string& text)
{
    std::int32_t value = 0;
    if (!ParseNumber(text, true, value)) {
        ICT_THROW("Invalid number: %1%", text);
    }
    return value;
}

void File::ThrowNodeAbsent(const std::string& name)
{
    ICT_THROW("XML node %1% is absent", name);
}

void File::ThrowAttrInvalidValue(const TiXmlElement& element, const char* name,
                                 const std::string& value)
{
    BOOST_THROW_EXCEPTION(Exception(Format("XML attribute %1% has invalid value: %2%", name, value))
                          << XmlRow(element.Row()) << XmlColumn(element.Column()));
}

}  // namespace integrity_check_tool::xml
