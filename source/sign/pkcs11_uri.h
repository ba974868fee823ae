#pragma once

#include <optional>
#include <string>

#include "types.h"

namespace integrity_check_tool::sign {

/// A PKCS#11 URI naming a key or certificate in a token (RFC 7512), split
/// into what the engine looks up and what this tool handles itself: the
/// module and the PIN file. A PIN in the URI is refused: it would show in
/// the process list and the shell history.
class Pkcs11Uri final {
public:
    /// Whether `text` is a PKCS#11 URI rather than a file name.
    static bool Is(const std::string& text);

    /// Parses `text`; throws Exception for malformed percent-encoding, a
    /// pin-value attribute or a pin-source other than a file. Messages never
    /// quote a URI that carries a PIN.
    explicit Pkcs11Uri(const std::string& text);

    /// The URI as given, for messages.
    const std::string& GetText() const noexcept { return text_; }
    /// The path attributes alone, as the engine takes them.
    const std::string& GetObjectUri() const noexcept { return objectUri_; }
    /// The module-path attribute, decoded.
    const std::optional<Path>& GetModulePath() const noexcept { return modulePath_; }
    /// The file of a pin-source attribute, decoded.
    const std::optional<Path>& GetPinFile() const noexcept { return pinFile_; }

private:
    std::string text_;
    std::string objectUri_;
    std::optional<Path> modulePath_;
    std::optional<Path> pinFile_;
};

}  // namespace integrity_check_tool::sign
