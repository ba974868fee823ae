#include "sign/openssl_error.h"

#include <openssl/err.h>

#include "exception.h"
#include "sign/messages.h"

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

Blob EncodeDer(const std::function<int(unsigned char**)>& encode)
{
    const int size = encode(nullptr);
    Blob der(size > 0 ? static_cast<std::size_t>(size) : 0);
    unsigned char* cursor = der.data();
    if (size <= 0 || encode(&cursor) != size) {
        ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
    }
    return der;
}

}  // namespace integrity_check_tool::sign
