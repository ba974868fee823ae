// Arbitrary bytes as a manifest, read the way verification reads signed
// content. What loads must print and load back to the same model, and the
// nesting guard must never see less depth than the parser builds.
#include <tinyxml.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include <boost/archive/iterators/dataflow_exception.hpp>
#include <zel/memory_io.h>

#include "exception.h"
#include "fuzz_target.h"
#include "manifest/manifest.h"
#include "xml/file.h"
#include "xml/nesting.h"

namespace {

using namespace integrity_check_tool;

// Throws what the reader throws; Exception and Base64Decode's own error are
// the documented failures, everything else escapes to the fuzzer.
bool Load(std::vector<std::uint8_t> bytes, Manifest& manifest)
{
    zel::MemoryIO stream(std::move(bytes));
    try {
        xml::File().LoadFromStream(stream, manifest);
        return true;
    } catch (const Exception&) {
    } catch (const boost::archive::iterators::dataflow_exception&) {
    }
    return false;
}

std::size_t Depth(const TiXmlNode& node)
{
    std::size_t deepest = 0;
    for (const TiXmlNode* child = node.FirstChild(); child != nullptr;
         child = child->NextSibling()) {
        deepest = std::max(deepest, Depth(*child));
    }
    return deepest + (node.ToElement() != nullptr ? 1 : 0);
}

// A parse the guard let through must not build deeper than it measured.
void CheckNesting(const std::uint8_t* data, std::size_t size)
{
    std::vector<char> text(data, data + size);
    text.resize(size + xml::kNestingPadding);
    const std::size_t measured =
        xml::MaxNesting(std::string_view(text.data(), size), xml::File::kMaxNesting);
    if (measured > xml::File::kMaxNesting) {
        return;
    }
    TiXmlDocument document;
    document.Parse(text.data(), nullptr, TIXML_DEFAULT_ENCODING);
    if (!document.Error() && Depth(document) > measured) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CheckNesting(data, size);
    Manifest manifest;
    if (!Load(std::vector<std::uint8_t>(data, data + size), manifest)) {
        return 0;
    }
    const std::string printed = xml::File::Print(manifest);
    Manifest reread;
    if (!Load(std::vector<std::uint8_t>(printed.begin(), printed.end()), reread) ||
        !(reread == manifest)) {
        std::abort();
    }
    return 0;
}
