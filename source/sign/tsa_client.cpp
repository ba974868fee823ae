#include "sign/tsa_client.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <utility>

#include <curl/curl.h>

#include "exception.h"
#include "sign/messages.h"

namespace integrity_check_tool::sign {

namespace {

constexpr long kConnectTimeoutSeconds = 10;
constexpr long kTimeoutSeconds = 30;

using CurlPtr = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using HeadersPtr = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

struct Body {
    Blob bytes;
    bool tooLarge = false;
};

std::size_t Collect(char* data, std::size_t size, std::size_t count, void* user)
{
    auto& body = *static_cast<Body*>(user);
    const std::size_t length = size * count;
    if (length > kMaxTsaReplySize - body.bytes.size()) {
        body.tooLarge = true;
        return 0;  // makes the transfer fail
    }
    body.bytes.insert(body.bytes.end(), data, data + length);
    return length;
}

/// The media type of a Content-Type value, lower case, without parameters.
std::string MediaType(const char* contentType)
{
    std::string type = contentType == nullptr ? "" : contentType;
    type = type.substr(0, type.find(';'));
    type.erase(std::remove_if(type.begin(), type.end(),
                              [](unsigned char c) { return std::isspace(c) != 0; }),
               type.end());
    std::transform(type.begin(), type.end(), type.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return type;
}

CurlPtr NewHandle()
{
    // Once per process, before any handle: libcurl's global set-up is not
    // thread-safe, and this tool makes one request.
    static const bool initialised = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    CurlPtr handle(initialised ? curl_easy_init() : nullptr, &curl_easy_cleanup);
    if (!handle) {
        ICT_THROW(messages::kCurlFailed);
    }
    return handle;
}

}  // namespace

Blob PostTimestampQuery(const std::string& url, std::span<const std::uint8_t> query)
{
    const CurlPtr curl = NewHandle();
    HeadersPtr headers(curl_slist_append(nullptr, "Content-Type: application/timestamp-query"),
                       &curl_slist_free_all);
    char error[CURL_ERROR_SIZE] = {};
    Body body;
    CURL* handle = curl.get();
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, kConnectTimeoutSeconds);
    curl_easy_setopt(handle, CURLOPT_TIMEOUT, kTimeoutSeconds);
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, query.data());
    curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(query.size()));
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &Collect);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &body);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, error);

    const CURLcode result = curl_easy_perform(handle);
    if (body.tooLarge) {
        ICT_THROW(messages::kTsaReplyTooLarge, url, kMaxTsaReplySize);
    }
    if (result != CURLE_OK) {
        ICT_THROW(messages::kTsaUnreachable, url,
                  error[0] != '\0' ? error : curl_easy_strerror(result));
    }
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    if (status != 200) {
        ICT_THROW(messages::kTsaHttpStatus, url, status);
    }
    const char* contentType = nullptr;
    curl_easy_getinfo(handle, CURLINFO_CONTENT_TYPE, &contentType);
    if (MediaType(contentType) != "application/timestamp-reply") {
        ICT_THROW(messages::kTsaContentType, url, contentType == nullptr ? "" : contentType);
    }
    if (body.bytes.empty()) {
        ICT_THROW(messages::kTsaEmptyReply, url);
    }
    return std::move(body.bytes);
}

}  // namespace integrity_check_tool::sign
