#include "manifest_workload.h"

#include <tinyxml.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <vector>

#include <zel/environment.h>
#include <zel/memory_io.h>
#include <zel/system_information.h>
#include <zel/tracer.h>

#include "config.h"
#include "manifest/environment.h"
#include "manifest/expand_visitor.h"
#include "manifest/filter.h"
#include "manifest/storage.h"
#include "signature/lum_verifier.h"
#include "system_info.h"
#include "tracer.h"
#include "utils/base64.h"
#include "xml/file.h"

namespace integrity_check_tool::bench {

namespace {

constexpr std::size_t kGroups = 4;
constexpr std::size_t kGroupEntries = 1000;
constexpr std::size_t kDuplicateEvery = 200;
constexpr std::size_t kDuplicateDistance = 100;
constexpr std::size_t kConditionalEvery = 25;

std::uint64_t SplitMix(std::uint64_t& state)
{
    std::uint64_t z = (state += 0x9e3779b97f4a7c15u);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
}

/// A 256-bit digest stand-in, fixed per entry so that repeats are exact.
std::string Digest(std::uint64_t seed)
{
    Blob bytes(32);
    for (std::size_t i = 0; i < bytes.size(); i += 8) {
        const std::uint64_t word = SplitMix(seed);
        for (std::size_t j = 0; j < 8; ++j) {
            bytes[i + j] = static_cast<std::uint8_t>(word >> (8 * j));
        }
    }
    return Base64Encode(bytes);
}

void AppendFile(std::string& out, const char* indent, const std::string& path, bool conditional,
                std::uint64_t seed)
{
    out += indent;
    out += "<File path=\"";
    out += path;
    out += conditional ? "\" arch=\"X86_64\" os=\"Linux\">" : "\">";
    out += "<Check type=\"Gost2012\" value=\"";
    out += Digest(seed);
    out += "\"/></File>\n";
}

/// Path of the `index`-th distinct top-level file: 100 files per
/// subdirectory, 10 subdirectories per directory.
std::string TopLevelPath(std::size_t index)
{
    return "%ProductRoot%/lib/dir_" + std::to_string(index / 1000) + "/sub_" +
           std::to_string(index / 100 % 10) + "/file_" + std::to_string(index % 100) + ".so";
}

/// Discards every record; the level sits below debug, as in a normal run,
/// so that nothing renders the manifest as JSON.
class QuietTracer final : public zel::ITracer {
public:
    bool IsEnabled(std::uint32_t level) const noexcept override { return level <= kTraceDefault; }
    void Write(std::uint32_t, std::string_view) noexcept override {}
};

}  // namespace

GeneratedManifest GenerateManifest(const std::string& path, std::size_t entries)
{
    if (entries < kGroups * kGroupEntries) {
        throw std::invalid_argument("too few entries for the directory groups");
    }
    GeneratedManifest result;
    std::string out;
    out.reserve(entries * 150);
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<Manifest productName=\"Bench Product\" productVersion=\"30.732.0\" "
           "generationDateTime=\"2024-05-14T10:20:30\">\n"
           "  <Environment key=\"Lib\" value=\"%ProductRoot%/lib\"/>\n"
           "  <Environment key=\"Plugins\" value=\"%Lib%/plugins\" os=\"Linux\"/>\n"
           "  <Environment key=\"Machine\" value=\"x86_64\" arch=\"X86_64\"/>\n";

    const std::size_t topLevel = entries - kGroups * kGroupEntries;
    std::size_t distinct = 0;
    for (std::size_t slot = 0; slot < topLevel; ++slot) {
        std::size_t index = distinct;
        if (slot % kDuplicateEvery == kDuplicateEvery - 1 && distinct >= kDuplicateDistance) {
            index = distinct - kDuplicateDistance;
            ++result.duplicates;
        } else {
            ++distinct;
        }
        const bool conditional = index % kConditionalEvery == 0;
        result.conditional += conditional ? 1 : 0;
        AppendFile(out, "  ", TopLevelPath(index), conditional, index);
    }
    for (std::size_t group = 0; group < kGroups; ++group) {
        out += "  <Files path=\"%ProductRoot%/share/group_" + std::to_string(group) + "\">\n";
        for (std::size_t i = 0; i < kGroupEntries; ++i) {
            const std::string relative =
                "sub_" + std::to_string(i / 100) + "/file_" + std::to_string(i % 100) + ".dat";
            AppendFile(out, "    ", relative, false, (group + 1) * 1000000 + i);
        }
        out += "  </Files>\n";
    }
    out += "</Manifest>\n";
    result.entries = entries;
    result.bytes = out.size();

    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(out.data(), static_cast<std::streamsize>(out.size()));
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
    return result;
}

std::unique_ptr<TiXmlDocument> ParseWithTinyXml(const std::string& path)
{
    std::vector<char> text;
    {
        std::FILE* file = std::fopen(path.c_str(), "rb");
        if (file == nullptr) {
            throw std::runtime_error("cannot open " + path);
        }
        std::fseek(file, 0, SEEK_END);
        const long size = std::ftell(file);
        std::fseek(file, 0, SEEK_SET);
        text.resize(static_cast<std::size_t>(size) + 1);
        const std::size_t read = std::fread(text.data(), 1, static_cast<std::size_t>(size), file);
        std::fclose(file);
        if (size < 0 || read != static_cast<std::size_t>(size)) {
            throw std::runtime_error("cannot read " + path);
        }
    }
    auto document = std::make_unique<TiXmlDocument>();
    document->Parse(text.data(), nullptr, TIXML_DEFAULT_ENCODING);
    if (document->Error()) {
        throw std::runtime_error(document->ErrorDesc());
    }
    return document;
}

Manifest LoadManifest(const std::string& path, bool signedManifest)
{
    const zel::ITracerPtr tracer = zel::MakeIntrusive<QuietTracer>();
    Manifest manifest;
    Storage storage(std::make_shared<xml::File>(), tracer);
    if (signedManifest) {
        // As verification does it: the signature check hands on the content.
        const LumSignatureVerifier verifier(tracer, true, std::nullopt, false);
        Blob content;
        verifier.Verify(path, content);
        zel::MemoryIO stream(std::move(content));
        storage.LoadFromStream(stream, manifest);
    } else {
        storage.LoadFromFile(path, manifest);
    }

    Environment environment(path, zel::CreateProcessEnvironment(), tracer);
    const SystemInfo system(*zel::CreateSystemInformationService());
    ExpandVariablesManifestVisitor expand(environment, std::make_shared<Filter>(system, tracer));
    manifest.Accept(expand);
    return manifest;
}

std::size_t CountFiles(const Manifest& manifest)
{
    std::size_t count = manifest.files.size();
    for (const DirectoryInfo& directory : manifest.directories) {
        count += directory.files.size();
    }
    return count;
}

}  // namespace integrity_check_tool::bench
