#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "enums.h"
#include "types.h"

namespace integrity_check_tool {

/// What one run is asked to do: exactly one action record, plus logging.
struct Config {
    struct SingleFileCheck {
        Path filePath;
        CheckType checkType = CheckType::Gost2012;
    };
    struct Generate {
        Path manifestPath;
        Path configPath;
        std::optional<Arch> arch;
        std::optional<Os> os;
        std::optional<OsEdition> osEdition;
        std::optional<Bitness> bitness;
        std::uint32_t version = 0;
        /// Check type given to entries that list none.
        CheckType checkType = CheckType::Gost2012;
    };
    struct Normalize {
        Path manifestPath;
    };
    struct Verify {
        bool isVerbose = false;
        std::set<Path> manifestPaths;
        std::optional<Path> crlStoragePath;
        SignatureType signatureType = SignatureType::Lum;
        /// 0: regular roots, 1: alternative roots, 2: no signature check.
        std::uint32_t signatureCheckMode = 0;
    };
    struct DisplayVersion {};

    std::optional<SingleFileCheck> singleFileCheck;
    std::optional<Generate> generate;
    std::optional<Normalize> normalize;
    std::optional<Verify> verify;
    std::optional<DisplayVersion> displayVersion;
    std::optional<Path> logFile;
    std::uint32_t logLevel = 600;
};
using ConfigPtr = std::shared_ptr<const Config>;

/// The configuration as pretty-printed JSON, keys in the documented order.
std::string ToJson(const Config& config);

}  // namespace integrity_check_tool
