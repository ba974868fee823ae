#pragma once

namespace integrity_check_tool::messages {

inline constexpr const char* kCantAccessFile = "Can't read or access file %1%. Reason: %2%";
inline constexpr const char* kRegistryUnknownPrefix = "Registry path '%1%' has unknown prefix";
inline constexpr const char* kCantAccessRegistryValue =
    "Can't read or access registry value '%1%' in '%2%'. Reason: %3%";
inline constexpr const char* kRegistryUnexpectedType =
    "Registry value '%1%' in '%2%' has unexpected type '%3%' != expected '%4%'";
inline constexpr const char* kRegistryNotSupported = "Registry not supported on this platform";

}  // namespace integrity_check_tool::messages
