#pragma once

#include <cstdint>

namespace integrity_check_tool::vorn {

/// Result code of the key-management routines (GOST hashing and
/// signatures): an unsigned 32-bit value, kSuccess when all went well.
using Result = std::uint32_t;

inline constexpr Result kSuccess = 0xE9BA5770;
inline constexpr Result kNotInitialized = 0xD10CC37A;
inline constexpr Result kKeyNotFound = 0x408B1C02;
inline constexpr Result kHashInputError = 0x7D11F7E2;
inline constexpr Result kIncompleteSignature = 0x28A9A54F;
inline constexpr Result kInvalidParameters = 0x5AAEEAE0;
inline constexpr Result kInternalError = 0x6EB9A4A4;
inline constexpr Result kSelfTestFailed = 0x7051B0AC;
inline constexpr Result kCryptoLibraryError = 0xA0F61271;
inline constexpr Result kObjectNotFound = 0xA200485B;
inline constexpr Result kReadCallbackError = 0x96BDEA9F;
inline constexpr Result kSignatureNotFound = 0x08CD9BAC;
inline constexpr Result kOutOfMemory = 0x7AFA8B14;
inline constexpr Result kUnknownGostVersion = 0xC93BC471;

/// The fixed message of `code`; "The unknown internal error occurred" for a
/// code outside the table.
const char* ResultMessage(Result code) noexcept;

}  // namespace integrity_check_tool::vorn
