#pragma once

#include <string>

namespace integrity_check_tool::sign {

/// The reasons OpenSSL queued for the last failure, joined with "; " (or
/// "unknown OpenSSL error"); empties the queue.
std::string TakeOpenSslError();

}  // namespace integrity_check_tool::sign
