#pragma once

#include "manifest/enums.h"
#include "types.h"

#include <optional>
#include <string>
#include <vector>

namespace integrity_check_tool::sign {

/// What one run of the tool does.
enum class Mode { Sign, MakeCrl, MakeContainer };

/// Signing FILE (in place unless `output` is given).
struct SignOptions {
    SignatureType type = SignatureType::Lum;
    Path key;
    std::optional<Path> certificate;
    std::optional<Path> chain;
    std::string digest = "sha256";
    Path file;
    std::optional<Path> output;
    bool replace = false;
};

/// Making a CRL signed by a root.
struct CrlOptions {
    Path caCertificate;
    Path caKey;
    std::vector<std::string> serials; ///< hexadecimal, as given
    int days = 30;
    Path output;
};

/// Packing CRLs into the revocation container.
struct ContainerOptions {
    std::vector<Path> roots;
    std::vector<Path> crls;
    Path output;
};

} // namespace integrity_check_tool::sign
