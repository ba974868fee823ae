#include "library.h"

#include <atomic>

#include <openssl/crypto.h>

#include "lum/service.h"

namespace crypto::lum {

namespace {

std::atomic<int> g_references{0};

}  // namespace

bool IsLibraryInitialized() noexcept
{
    return g_references.load(std::memory_order_acquire) > 0;
}

std::int32_t LumInitializeLibrary()
{
    if (OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS | OPENSSL_INIT_ADD_ALL_DIGESTS,
                            nullptr) != 1) {
        return lumErrCryptoLib;
    }
    g_references.fetch_add(1, std::memory_order_acq_rel);
    return lumOk;
}

void LumReleaseLibrary()
{
    int current = g_references.load(std::memory_order_acquire);
    // An unpaired release must not drive the count negative.
    while (current > 0 &&
           !g_references.compare_exchange_weak(current, current - 1, std::memory_order_acq_rel)) {
    }
}

std::int32_t LumCryptoPro_GetGostLibraryVersionString(const char** out)
{
    if (out == nullptr) {
        return -1;
    }
    *out = "<crypto_pro:ver:1.0.1>";
    return lumOk;
}

LibraryReference::~LibraryReference()
{
    LumReleaseLibrary();
}

}  // namespace crypto::lum
