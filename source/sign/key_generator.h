#pragma once

#include "sign/options.h"

namespace integrity_check_tool::sign {

/// Generates a GOST key pair: writes the private key (PEM PKCS#8, mode 0600)
/// to `options.output`, which must not exist yet, and the public key (PEM
/// SubjectPublicKeyInfo) to `options.publicOutput` when given, each
/// atomically. Throws Exception; no file is ever left half written.
void GenerateKeyPair(const KeyOptions& options);

}  // namespace integrity_check_tool::sign
