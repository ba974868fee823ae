// Arbitrary text as base64. What decodes must survive encoding and decoding
// again, and the manifest reader's quick decoder must agree with the general
// one on every check value.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include <boost/archive/iterators/dataflow_exception.hpp>
#include <zel/memory_io.h>

#include "exception.h"
#include "fuzz_target.h"
#include "manifest/manifest.h"
#include "utils/base64.h"
#include "xml/file.h"

namespace {

using namespace integrity_check_tool;

std::optional<Blob> Decode(std::string_view text)
{
    try {
        return Base64Decode(text);
    } catch (const boost::archive::iterators::dataflow_exception&) {
        return std::nullopt;
    }
}

// The value of a Check element holding `text`; nullopt when the reader refuses it.
std::optional<Blob> DecodeInManifest(std::string_view text)
{
    const std::string xml = "<Manifest><File path='/a'><Check type='Sha256' value='" +
                            std::string(text) + "'/></File></Manifest>";
    zel::MemoryIO stream(Blob(xml.begin(), xml.end()));
    Manifest manifest;
    try {
        xml::File().LoadFromStream(stream, manifest);
    } catch (const Exception&) {
        return std::nullopt;
    } catch (const boost::archive::iterators::dataflow_exception&) {
        return std::nullopt;
    }
    if (manifest.files.size() != 1 || manifest.files[0].checks.size() != 1) {
        std::abort();
    }
    return manifest.files[0].checks[0]->value;
}

// Printable ASCII that an attribute carries unchanged.
bool AttributeSafe(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) {
        return c > ' ' && c < 0x7F && c != '<' && c != '&' && c != '\'' && c != '"';
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // The input as raw bytes first.
    const Blob raw(data, data + size);
    if (Decode(Base64Encode(raw)) != raw) {
        std::abort();
    }
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::optional<Blob> bytes = Decode(text);
    if (AttributeSafe(text) && DecodeInManifest(text) != bytes) {
        std::abort();
    }
    if (!bytes) {
        return 0;
    }
    const std::string encoded = Base64Encode(*bytes);
    if (encoded.size() % 4 != 0 || Decode(encoded) != bytes || DecodeInManifest(encoded) != bytes) {
        std::abort();
    }
    return 0;
}
