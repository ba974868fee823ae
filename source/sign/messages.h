#pragma once

namespace integrity_check_tool::sign::messages {

// Command line
inline constexpr const char* kNoMode =
    "Nothing to do: give --type, --make-crl, --make-container or --gen-key";
inline constexpr const char* kTwoModes =
    "Give only one of --type, --make-crl, --make-container and --gen-key";
inline constexpr const char* kOptionNotForMode = "Option --%1% can't be used with %2%";
inline constexpr const char* kOptionRequired = "Option --%1% is required with %2%";
inline constexpr const char* kOneFile = "Give exactly one FILE to sign";
inline constexpr const char* kNoCrls = "Give at least one CRL file to put into the container";
inline constexpr const char* kNoPositional = "%1% takes no FILE arguments";
inline constexpr const char* kUnknownType =
    "Unknown signature type: %1% (expected lum, lum-with-filename or vorn2)";
inline constexpr const char* kNotForVorn2 =
    "Option --%1% can't be used with --type vorn2: the GOST key alone signs, and its size "
    "fixes the digest";
inline constexpr const char* kUnknownKeyType =
    "Unknown key type: %1% (expected gost256 or gost512)";
inline constexpr const char* kSameKeyFiles = "--pubout must name another file than --output";
inline constexpr const char* kUnknownDigest =
    "Unknown digest: %1% (expected sha256, sha384 or sha512)";
inline constexpr const char* kBadDays = "Invalid number of days: %1% (expected 1 to 36500)";
inline constexpr const char* kBadSerial =
    "Invalid serial number: %1% (expected hexadecimal digits)";

// Reading inputs
inline constexpr const char* kOpenSslFailed = "OpenSSL failure: %1%";
inline constexpr const char* kNotRegularFile = "%1% is not a regular file";
inline constexpr const char* kFileTooLarge = "%1% is too large";
inline constexpr const char* kCantReadKey = "Can't read private key from %1%: %2%";
inline constexpr const char* kCantReadCertificate = "Can't read certificate from %1%: %2%";
inline constexpr const char* kCantReadCrl = "Can't read CRL from %1%: %2%";

// Key generation
inline constexpr const char* kKeyExists =
    "Key file %1% already exists; it is never overwritten: remove it or choose another --output";

// Signing
inline constexpr const char* kKeyDoesNotMatch = "Private key %1% does not match certificate %2%";
inline constexpr const char* kNotCodeSigning =
    "Certificate %1% is not for code signing: it lacks the codeSigning extended key usage";
inline constexpr const char* kAlreadySigned =
    "File %1% already has a %2% signature; use --replace to replace it";
inline constexpr const char* kMalformedSignature =
    "File %1% ends in a malformed %2% signature; it can't be replaced";
inline constexpr const char* kSigningFailed = "Can't sign %1%: %2%";
inline constexpr const char* kSignatureTooLarge = "Signature of %1% is too large";

// Revocation
inline constexpr const char* kCrlFailed = "Can't make CRL: %1%";
inline constexpr const char* kCrlNotFromRoot =
    "CRL %1% is not issued and signed by any of the given roots";
inline constexpr const char* kTwoCrlsForRoot =
    "CRLs %1% and %2% are both for root %3%; give one CRL per root";

}  // namespace integrity_check_tool::sign::messages
