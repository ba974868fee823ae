#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace integrity_check_tool {

// Each value equals its position in the enumeration's name table.

enum class CheckType : std::uint32_t { Exists, NotExists, Gost2012, Sha256, Value };
enum class SignatureType : std::uint32_t { Vorn2, Lum, LumWithFilename };
enum class Bitness : std::uint32_t { Bits32, Bits64 };
enum class OsEdition : std::uint32_t { Server, Desktop };
enum class Os : std::uint32_t { Linux, Windows, MacOS };
enum class Arch : std::uint32_t { X86_64, X86, IA64, ARM32, ARM64, E2K32, E2K64 };
enum class RegistryType : std::uint32_t {
    Binary,
    Dword,
    DwordLittleEndian,
    DwordBigEndian,
    ExpandSz,
    Link,
    MultiSz,
    None,
    Qword,
    QwordLittleEndian,
    Sz,
};

/// The value named exactly `name` (case-sensitive); throws Exception
/// "Invalid name: %1%" for any other text.
template <class T> T FromName(std::string_view name);

/// The name of `value`; throws std::out_of_range for a value outside the table.
template <class T> const std::string& ToName(T value);

/// The table's names joined by `separator`, in value order (for help texts).
template <class T> std::string JoinNames(std::string_view separator);

}  // namespace integrity_check_tool
