#include "lum/crl_currency.h"

#include <openssl/x509.h>

namespace crypto::lum {

CrlCurrency GetCrlCurrency(const X509_CRL& crl)
{
    // X509_cmp_current_time: 1 later than now, -1 not later, 0 unreadable.
    if (X509_cmp_current_time(X509_CRL_get0_lastUpdate(&crl)) != -1) {
        return CrlCurrency::NotYetValid;
    }
    const ASN1_TIME* next = X509_CRL_get0_nextUpdate(&crl);
    if (next == nullptr) {
        return CrlCurrency::NoNextUpdate;
    }
    return X509_cmp_current_time(next) == 1 ? CrlCurrency::Current : CrlCurrency::OutOfDate;
}

}  // namespace crypto::lum
