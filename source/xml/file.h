#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <boost/exception/info.hpp>
#include <zel/io.h>

#include "manifest/storage.h"

class TiXmlElement;

namespace integrity_check_tool::xml {

/// Row of the XML text where a read failed (1-based).
using XmlRow = boost::error_info<struct tag_xml_row, int>;
/// Column of the XML text where a read failed (1-based).
using XmlColumn = boost::error_info<struct tag_xml_column, int>;

/// The manifest as an XML document. Reads the current dialect (root
/// "Manifest", optionally inside "Config") and the legacy one (root
/// "IntegrityManifest"); writes the current dialect. Every read failure is an
/// Exception, carrying XmlRow and XmlColumn where the position is known.
class File final : public IStorage {
public:
    /// Deepest element nesting accepted; real manifests need five levels.
    static constexpr std::size_t kMaxNesting = 64;

    void LoadFromStream(zel::IIO& stream, Manifest& manifest) override;
    void LoadFromFile(const Path& path, Manifest& manifest) override;
    void StoreToFile(const Path& path, const Manifest& manifest) override;

    /// Parses the whole of `stream` into `manifest`; the parsed document is
    /// released before returning.
    static void Read(zel::IIO& stream, Manifest& manifest);
    /// Writes `manifest` to `stream` in the current dialect, indented by four blanks.
    static void Write(const Manifest& manifest, zel::IIO& stream);
    /// The printed document of `manifest`.
    static std::string Print(const Manifest& manifest);

    /// The attribute's text, or "" when it is absent.
    static std::string LoadAttr(const TiXmlElement& element, const char* name);
    /// False when absent; throws "Invalid boolean value: %1%" unless "true" or "false".
    static bool LoadBoolAttr(const TiXmlElement& element, const char* name);
    /// Reads leading blanks, then "0x"/"0X" and hexadecimal digits or decimal
    /// digits, ignoring anything after the number; throws "Invalid number: %1%".
    static std::uint32_t ReadNumber(const std::string& text);
    /// As ReadNumber, for a signed decimal or hexadecimal number.
    static std::int32_t ReadSignedNumber(const std::string& text);
    /// Throws "XML node %1% is absent".
    [[noreturn]] static void ThrowNodeAbsent(const std::string& name);
    /// Throws "XML attribute %1% has invalid value: %2%" at the element's position.
    [[noreturn]] static void ThrowAttrInvalidValue(const TiXmlElement& element, const char* name,
                                                   const std::string& value);
};

}  // namespace integrity_check_tool::xml
