#include "sign/openssl_error.h"

#include <openssl/err.h>

namespace integrity_check_tool::sign {

std::string TakeOpenSslError()
{
    std::string text;
    while (const unsigned long code = ERR_get_error()) {
        char buffer[256];
        ERR_error_string_n(code, buffer, sizeof buffer);
        if (!text.empty()) {
            text += "; ";
        }
        text += buffer;
    }
    return text.empty() ? "unknown OpenSSL error" : text;
}

}  // namespace integrity_check_tool::sign
