#pragma once

namespace integrity_check_tool::check::messages {

inline constexpr const char* kMismatch = "Verification mismatch with '%1%' checker. Reason: %2%";
inline constexpr const char* kAllChecksFailed = "All checks failed:";
inline constexpr const char* kAllChecksFailedLine = "\n\tChecker [%1%]: %2%";
inline constexpr const char* kNoChecksForFile = "There are no checks for file %1%";
inline constexpr const char* kNoChecksForRegistry =
    "There are no checks for registry key %1% in %2%";
inline constexpr const char* kCheckStarted = "Check [%1%] ...";
inline constexpr const char* kCheckFailed = "Check [%1%] - Failed. %2%";
inline constexpr const char* kCheckSucceeded = "Check [%1%] - Succeeded";

inline constexpr const char* kCheckingFileExistence = "Checking existence of file %1% ...";
inline constexpr const char* kCheckingFileAbsence = "Checking absence of file %1% ...";
inline constexpr const char* kCheckingFileValue = "Checking value of file %1% ...";
inline constexpr const char* kFileExists = "File %1% exists";
inline constexpr const char* kFileNotExists = "File %1% not exists.";
inline constexpr const char* kFileHasExpectedValue = "File %1% has expected value";
inline constexpr const char* kFileHasUnexpectedValue = "File %1% has unexpected value";
inline constexpr const char* kFileHashEvaluated = "Hash for file %1% evaluated: %2%";
inline constexpr const char* kFileHasExpectedHash = "File %1% has expected value %2%";
inline constexpr const char* kFileHasUnexpectedHash =
    "File %1% has unexpected hash %2% != expected %3%";

inline constexpr const char* kCheckingRegistryExistence =
    "Checking existence of registry key %1% in %2% ...";
inline constexpr const char* kCheckingRegistryAbsence =
    "Checking absence of registry key %1% in %2% ...";
inline constexpr const char* kCheckingRegistryValue = "Checking registry key %1% in %2% ...";
inline constexpr const char* kRegistryExists = "Registry key %1% exists in %2%";
inline constexpr const char* kRegistryNotExists = "Registry key %1% not exists in %2%";
inline constexpr const char* kRegistryHasExpectedValue =
    "Registry key %1% in %2% has expected value";
inline constexpr const char* kRegistryHasUnexpectedValue =
    "Registry key %1% in %2% has unexpected value";
inline constexpr const char* kRegistryHasExpectedHash =
    "Registry key %1% in %2% has expected value %3%";
inline constexpr const char* kRegistryHasUnexpectedHash =
    "Registry key %1% in %2% has unexpected hash %3% != expected %4%";

}  // namespace integrity_check_tool::check::messages
