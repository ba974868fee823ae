#pragma once

#include <functional>
#include <string>

#include "types.h"

namespace integrity_check_tool::sign {

/// The reasons OpenSSL queued for the last failure, joined with "; " (or
/// "unknown OpenSSL error"); empties the queue.
std::string TakeOpenSslError();

/// The DER that `encode`, a bound i2d function of OpenSSL, writes: asked
/// first for the size (a null cursor), then for the bytes. Throws the queued
/// reason when either call fails.
Blob EncodeDer(const std::function<int(unsigned char**)>& encode);

}  // namespace integrity_check_tool::sign
