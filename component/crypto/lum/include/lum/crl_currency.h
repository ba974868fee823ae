#pragma once

#include <openssl/types.h>

namespace crypto::lum {

/// Whether a CRL is in force now (RFC 5280 6.3.3): an outdated CRL could
/// be an old copy put back to revive a revoked signer.
enum class CrlCurrency {
    Current,
    OutOfDate,     ///< its nextUpdate has passed
    NotYetValid,   ///< its thisUpdate lies in the future
    NoNextUpdate,  ///< it never goes out of date, so a copy could be replayed forever
};

/// The CRL's currency at the system clock; a time that does not convert
/// counts as out of date (or not yet valid for thisUpdate).
CrlCurrency GetCrlCurrency(const X509_CRL& crl);

}  // namespace crypto::lum
