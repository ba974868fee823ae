#pragma once

#include "support/process.h"
#include "types.h"

#include <optional>
#include <string>
#include <vector>

namespace integrity_check_tool::test {

/// Runs the built integrity_sign (under the emulator in a cross build).
ProcessResult RunSign(const std::vector<std::string>& arguments);

/// Runs the host's openssl command.
ProcessResult RunOpenSsl(const std::vector<std::string>& arguments);

/// A committed demo file, e.g. Demo("regular/leaf.pem").
std::string Demo(const std::string& relative);

/// A signed file cut at its 12-byte trailer, read independently of the
/// program's own layout code.
struct SignedParts {
    std::string content;
    std::string der;
};
/// The parts, or nullopt when the file does not end in a well-formed trailer.
std::optional<SignedParts> SplitSignedFile(const std::string& file);

/// Whether `text` contains `part`.
inline bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

/// `front` followed by `back`.
inline std::vector<std::string> Concat(std::vector<std::string> front,
                                       const std::vector<std::string>& back)
{
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

/// The names of the entries in `directory`.
std::vector<std::string> ListDirectory(const Path& directory);

} // namespace integrity_check_tool::test
