#pragma once

#include <optional>
#include <string>
#include <vector>

#include "enums.h"
#include "types.h"

namespace integrity_check_tool::sign {

/// What one run of the tool does.
enum class Mode {
    Sign,
    MakeCrl,
    MakeContainer,
    GenerateKey,
    TimestampQuery,
    TimestampEmbed,
    TimestampFetch
};

/// Signing FILE (in place unless `output` is given).
struct SignOptions {
    SignatureType type = SignatureType::Lum;
    Path key;                         ///< a file or a pkcs11: URI
    std::optional<Path> certificate;  ///< a file or a pkcs11: URI
    std::optional<Path> pkcs11Module;
    std::optional<Path> pinFile;
    std::optional<Path> chain;
    std::vector<Path> roots;  ///< verify under these instead of the compiled-in roots
    std::optional<Path> passFile;
    std::string digest = "sha256";
    Path file;
    std::optional<Path> output;
    bool replace = false;
};

/// Making a CRL signed by a root.
struct CrlOptions {
    Path caCertificate;
    Path caKey;
    std::optional<Path> passFile;
    std::vector<std::string> serials;  ///< hexadecimal, as given
    int days = 30;
    Path output;
};

/// Packing CRLs into the revocation container.
struct ContainerOptions {
    std::vector<Path> roots;
    std::vector<Path> crls;
    Path output;
};

/// Generating a GOST R 34.10-2012 key pair.
struct KeyOptions {
    unsigned bits = 256;
    std::string paramSet = "A";
    Path output;                       ///< the private key, never overwritten
    std::optional<Path> publicOutput;  ///< the public key, if wanted
};

/// Time-stamping the lum signature of FILE: writing the request
/// (TimestampQuery), embedding a reply's token (TimestampEmbed, matched to
/// `query` when given) or both through a TSA's URL (TimestampFetch).
struct TimestampOptions {
    Path file;
    std::optional<Path> query;
    std::optional<Path> reply;
    std::string url;
    std::optional<Path> output;  ///< FILE is changed in place without it
};

}  // namespace integrity_check_tool::sign
