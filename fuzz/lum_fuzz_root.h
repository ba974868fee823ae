#pragma once

// Root certificate of the fuzz targets' test hierarchy (serial 0F00). Its
// key is test material kept in make_corpus.sh, which signs the seeds with it.
inline constexpr const char* kLumFuzzRootPem = R"(-----BEGIN CERTIFICATE-----
MIIBhzCCAS2gAwIBAgICDwAwCgYIKoZIzj0EAwIwGTEXMBUGA1UEAwwORnV6eiBU
ZXN0IFJvb3QwIBcNMjYxMTI1MDY0NTQwWhgPMjEyNjExMDEwNjQ1NDBaMBkxFzAV
BgNVBAMMDkZ1enogVGVzdCBSb290MFkwEwYHKoZIzj0CAQYIKoZIzj0DAQcDQgAE
yvi6LX5yj2lM7vbIJgRMQEr2DI5FaVgiMC3BNf9gfWreQj/jBndTFXY96rwLUE34
eUT5InnrOUYxSHwkIjZ4xaNjMGEwHQYDVR0OBBYEFOdfFWlrqHb6XtJbHZguclSB
uBQQMB8GA1UdIwQYMBaAFOdfFWlrqHb6XtJbHZguclSBuBQQMA8GA1UdEwEB/wQF
MAMBAf8wDgYDVR0PAQH/BAQDAgEGMAoGCCqGSM49BAMCA0gAMEUCIQDtipYh2plL
h5t4AUlGprbAzJOx+uW0pArKiCcyQ7qIoQIgNtNYk1tODkvrEYAPIAXUyE55wDBu
kLqfzGaAeYFs8HA=
-----END CERTIFICATE-----
)";

#include <lum/format.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

/// The root as DER.
inline crypto::lum::Bytes LumFuzzRootDer()
{
    BIO* bio = BIO_new_mem_buf(kLumFuzzRootPem, -1);
    X509* root = PEM_read_bio_X509(bio, nullptr, nullptr, nullptr);
    BIO_free(bio);
    crypto::lum::Bytes der(static_cast<std::size_t>(i2d_X509(root, nullptr)));
    unsigned char* cursor = der.data();
    i2d_X509(root, &cursor);
    X509_free(root);
    return der;
}
