#pragma once

#include "sign/options.h"
#include "sign/signer.h"

namespace integrity_check_tool::sign {

/// The signer for `options.type`, with its key material loaded; throws
/// Exception for unusable material.
ISignerPtr CreateSigner(const SignOptions& options);

}  // namespace integrity_check_tool::sign
