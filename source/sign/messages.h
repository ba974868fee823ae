#pragma once

namespace integrity_check_tool::sign::messages {

// Command line
inline constexpr const char* kNoMode =
    "Nothing to do: give --type, --make-crl, --make-container, --gen-key, --tsa-query, "
    "--tsa-reply or --tsa-url";
inline constexpr const char* kTwoModes =
    "Give only one of --type, --make-crl, --make-container, --gen-key and the --tsa options";
inline constexpr const char* kOptionNotForMode = "Option --%1% can't be used with %2%";
inline constexpr const char* kOptionRequired = "Option --%1% is required with %2%";
inline constexpr const char* kOneFile = "Give exactly one FILE to sign";
inline constexpr const char* kOneSignedFile = "Give exactly one signed FILE to time-stamp";
inline constexpr const char* kNoCrls = "Give at least one CRL file to put into the container";
inline constexpr const char* kNoPositional = "%1% takes no FILE arguments";
inline constexpr const char* kUnknownType =
    "Unknown signature type: %1% (expected lum, lum-with-filename or vorn2)";
inline constexpr const char* kNotForVorn2 =
    "Option --%1% can't be used with --type vorn2: an unencrypted GOST key alone signs, without "
    "certificates, and its size fixes the digest";
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
/// %1% what ("private key", "certificate", "CRL"), %2% the file, %3% why.
inline constexpr const char* kCantRead = "Can't read %1% from %2%: %3%";
inline constexpr const char* kWrongPassphrase =
    "Can't read the private key %1%: wrong passphrase or not a key";
inline constexpr const char* kPassphraseNeeded =
    "Private key %1% is encrypted and there is no terminal to ask for its passphrase: put it on "
    "the first line of a file only you can read and give --pass-file FILE";
inline constexpr const char* kPassphrasePrompt = "Passphrase for %1%: ";
inline constexpr const char* kGostKeyEncrypted =
    "GOST key %1% is encrypted; integrity_sign reads GOST keys unencrypted only, as --gen-key "
    "writes them";
inline constexpr const char* kEmptyPassFile = "Passphrase file %1% holds nothing on its first line";

// Keys and certificates in tokens
inline constexpr const char* kTokenOptionsWithoutUri =
    "Options --pkcs11-module and --pin-file are for a --key or --cert given as a pkcs11: URI";
inline constexpr const char* kVorn2NotInToken =
    "--type vorn2 takes a GOST key file, not a pkcs11: URI: no token available here holds "
    "GOST R 34.10-2012 keys";
inline constexpr const char* kBadPkcs11Uri = "Invalid PKCS#11 URI %1%: %2%";
inline constexpr const char* kPinInUri =
    "A PIN can't be given in a PKCS#11 URI (pin-value): anyone can read the command line; put "
    "it in a file only you can read and give --pin-file FILE";
inline constexpr const char* kUnsupportedPinSource =
    "Unsupported pin-source in PKCS#11 URI %1%: give a file (pin-source=file:PATH) or "
    "--pin-file FILE";
inline constexpr const char* kTwoModules =
    "The key and the certificate name different PKCS#11 modules: %1% and %2%";
inline constexpr const char* kEmptyPin = "PIN file %1% holds no PIN on its first line";
inline constexpr const char* kNoPkcs11Engine =
    "Can't use keys in tokens: OpenSSL's pkcs11 engine can't be loaded (install "
    "libengine-pkcs11-openssl): %1%";
inline constexpr const char* kCantLoadModule = "Can't load PKCS#11 module %1%: %2%";
/// %1% what ("private key", "certificate"), %2% the URI, %3% the module, %4% why.
inline constexpr const char* kCantLoadFromToken =
    "Can't load %1% %2% through PKCS#11 module %3%: %4%";

// Key generation
inline constexpr const char* kKeyExists =
    "Key file %1% already exists; it is never overwritten: remove it or choose another --output";

// Signing
inline constexpr const char* kKeyDoesNotMatch = "Private key %1% does not match certificate %2%";
inline constexpr const char* kNotCodeSigning =
    "Certificate %1% is not for code signing: it lacks the codeSigning extended key usage";
inline constexpr const char* kRefusedCertificate = "Can't sign with certificate %1% from %2%: %3%";
inline constexpr const char* kAlreadySigned =
    "File %1% already has a %2% signature; use --replace to replace it";
inline constexpr const char* kMalformedSignature =
    "File %1% ends in a malformed %2% signature; it can't be replaced";
inline constexpr const char* kSigningFailed = "Can't sign %1%: %2%";
inline constexpr const char* kNameNotUtf8 =
    "Can't sign %1% with lum-with-filename: its name is not valid UTF-8, and the signature "
    "binds the name exactly";
inline constexpr const char* kSignatureTooLarge = "Signature of %1% is too large";

// Verifying before writing
inline constexpr const char* kVerifiedRegular =
    "Verified: chains to the compiled-in regular roots (integrity_checker, integrity_check_tool)";
inline constexpr const char* kVerifiedAlternative =
    "Verified: chains to the compiled-in alternative roots (integrity_tester)";
inline constexpr const char* kVerifiedByRoot = "Verified: chains to the root in %1%";
inline constexpr const char* kWouldNotVerify =
    "Refusing to sign %1%: the signature would not verify: %2%";
inline constexpr const char* kNoRoots = "the build has no roots to verify against";
inline constexpr const char* kNoChainToCompiledIn =
    "no chain from the leaf \"%1%\" to a compiled-in root; pass its intermediates with --chain, "
    "or its own root with --root";
inline constexpr const char* kNoChainToGivenRoot =
    "no chain from the leaf \"%1%\" to a root given with --root; pass its intermediates with "
    "--chain";
inline constexpr const char* kLeafExpired = "the leaf \"%1%\" expired: notAfter %2%";
inline constexpr const char* kLeafNotYetValid = "the leaf \"%1%\" is not yet valid: notBefore %2%";
inline constexpr const char* kChainOutOfValidity =
    "a certificate above the leaf \"%1%\" is expired or not yet valid";
inline constexpr const char* kGostKeyNotCompiledIn =
    "WARNING: this GOST key is in neither compiled-in key set: the checker refuses its "
    "signatures until a build names its public key in ICT_GOST_REGULAR_KEYS or "
    "ICT_GOST_ALTERNATIVE_KEYS";

// Revocation
inline constexpr const char* kCrlFailed = "Can't make CRL: %1%";
inline constexpr const char* kNotCrlIssuer =
    "Can't make a CRL with %1% (\"%2%\"): it is not a CA that may sign CRLs (basicConstraints "
    "CA:TRUE and, with a key usage, cRLSign); give the root certificate";
inline constexpr const char* kRootWithoutCrl =
    "Root %1% (\"%2%\") has no CRL among the inputs; once a container holds any, the checker "
    "needs one for every code-signing root it trusts: make one with --make-crl";
inline constexpr const char* kCrlNotFromRoot =
    "CRL %1% is not issued and signed by any of the given roots";
inline constexpr const char* kTwoCrlsForRoot =
    "CRLs %1% and %2% are both for root %3%; give one CRL per root";
inline constexpr const char* kCrlWeakDigest =
    "CRL %1% is signed with %2%, which the checker refuses; sign it with SHA-256, SHA-384 or "
    "SHA-512";
inline constexpr const char* kCrlOutOfDate =
    "CRL %1% is out of date: its next update was due %2%; make a new one";
inline constexpr const char* kCrlNotYetValid =
    "CRL %1% is not yet valid: it is dated %2%, in the future";
inline constexpr const char* kCrlWithoutNextUpdate =
    "CRL %1% has no next update date, so the checker refuses it; make one with --make-crl";
inline constexpr const char* kCrlDueSoon =
    "Warning: CRL %1% is due for its next update on %2%, in less than %3% days; the checker "
    "refuses it from then on";

// Time-stamping
inline constexpr const char* kNotLumSigned =
    "File %1% has no lum signature; sign it before time-stamping";
inline constexpr const char* kVorn2NotStamped =
    "File %1% has a vorn2 signature; only lum signatures take a time-stamp token";
inline constexpr const char* kSignerCount =
    "The lum signature of %1% has %2% signers; a time-stamp token needs exactly one";
inline constexpr const char* kCantReadRequest = "Can't read time-stamp request %1%: %2%";
inline constexpr const char* kCantReadReply = "Can't read time-stamp reply %1%: %2%";
inline constexpr const char* kReplyNotGranted =
    "Time-stamp reply %1% is not granted: status %2%: %3%";
inline constexpr const char* kReplyWithoutToken = "Time-stamp reply %1% carries no token";
inline constexpr const char* kImprintMismatch =
    "Time-stamp token of %1% is not for the signature of %2%: its message imprint is not the "
    "SHA-256 digest of that signature";
/// %3% "its nonce differs" or "it carries no nonce".
inline constexpr const char* kNotTheAnswer =
    "Time-stamp token of %1% does not answer request %2%: %3%";
inline constexpr const char* kFutureTime =
    "Time-stamp token of %1% is dated %2%, in the future: the checker refuses it until then";
inline constexpr const char* kNoTsaCertificate =
    "Time-stamp token of %1% does not carry the TSA certificate";
inline constexpr const char* kNotTimeStamping =
    "TSA certificate \"%1%\" lacks the critical timeStamping extended key usage";
inline constexpr const char* kUntrustedTsa =
    "TSA certificate \"%1%\" does not chain to a trusted time-stamping root at %2%: %3%";
inline constexpr const char* kBadTokenSignature = "Time-stamp token of %1% does not verify: %2%";
inline constexpr const char* kEmbeddingBroke =
    "Can't embed the time-stamp token into %1%: the signature no longer verifies (%2%)";

// Talking to a time-stamping authority
inline constexpr const char* kCurlFailed = "libcurl can't be initialised";
inline constexpr const char* kTsaUnreachable = "Can't reach time-stamping authority %1%: %2%";
inline constexpr const char* kTsaHttpStatus =
    "Time-stamping authority %1% answered with HTTP status %2%";
inline constexpr const char* kTsaContentType =
    "Time-stamping authority %1% answered with Content-Type \"%2%\", not "
    "application/timestamp-reply";
inline constexpr const char* kTsaEmptyReply = "Time-stamping authority %1% sent an empty reply";
inline constexpr const char* kTsaReplyTooLarge =
    "Time-stamping authority %1% sent a reply larger than %2% bytes";

}  // namespace integrity_check_tool::sign::messages
