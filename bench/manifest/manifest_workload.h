#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "manifest/manifest.h"

class TiXmlDocument;

namespace integrity_check_tool::bench {

/// What GenerateManifest wrote.
struct GeneratedManifest {
    std::size_t entries = 0;      ///< <File> elements, duplicates included
    std::size_t duplicates = 0;   ///< entries repeating an earlier one
    std::size_t conditional = 0;  ///< entries with applicability attributes
    std::size_t bytes = 0;
};

/// Writes a manifest of `entries` file entries to `path`, as a generated
/// installation manifest looks: one GOST check per file, most files at the
/// top level and some in <Files> groups, a few conditional and a few repeated.
/// The same arguments always give the same bytes.
GeneratedManifest GenerateManifest(const std::string& path, std::size_t entries = 100000);

/// The baseline: reads the file into memory and parses it with TinyXML alone.
/// Throws std::runtime_error when the file cannot be read or parsed.
std::unique_ptr<TiXmlDocument> ParseWithTinyXml(const std::string& path);

/// Our load as verification does it: the storage reads, parses, builds the
/// model and collapses duplicates, then placeholders are expanded. A signed
/// manifest has its signature checked against the regular roots first.
Manifest LoadManifest(const std::string& path, bool signedManifest = false);

/// File entries of the manifest, top level and in directories.
std::size_t CountFiles(const Manifest& manifest);

}  // namespace integrity_check_tool::bench
