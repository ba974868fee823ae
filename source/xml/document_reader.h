#pragma once

class TiXmlDocument;

namespace integrity_check_tool {
struct Manifest;
}

namespace integrity_check_tool::xml {

/// Fills `manifest` from a parsed document of either dialect; throws Exception.
void ReadDocument(const TiXmlDocument& document, Manifest& manifest);

}  // namespace integrity_check_tool::xml
