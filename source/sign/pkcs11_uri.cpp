#include "sign/pkcs11_uri.h"

#include <cctype>
#include <string_view>
#include <vector>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>

#include "exception.h"
#include "sign/messages.h"

namespace integrity_check_tool::sign {

namespace {

constexpr std::string_view kScheme = "pkcs11:";

int HexValue(char digit)
{
    const auto c = static_cast<unsigned char>(digit);
    if (std::isdigit(c) != 0) {
        return c - '0';
    }
    if (std::isxdigit(c) != 0) {
        return std::tolower(c) - 'a' + 10;
    }
    return -1;
}

std::string PercentDecoded(const std::string& value, const std::string& uri)
{
    std::string decoded;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '%') {
            decoded += value[i];
            continue;
        }
        const int high = i + 2 < value.size() ? HexValue(value[i + 1]) : -1;
        const int low = i + 2 < value.size() ? HexValue(value[i + 2]) : -1;
        if (high < 0 || low < 0) {
            ICT_THROW(messages::kBadPkcs11Uri, uri, "a '%' not followed by two hexadecimal digits");
        }
        decoded += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return decoded;
}

/// The file of a pin-source value: "file:PATH", "file:///PATH" or a bare path.
Path PinFileOf(const std::string& source, const std::string& uri)
{
    static constexpr std::string_view kFile = "file:";
    static constexpr std::string_view kLocal = "file://";
    std::string path = source;
    if (boost::algorithm::istarts_with(source, kLocal)) {
        path = source.substr(kLocal.size());
    } else if (boost::algorithm::istarts_with(source, kFile)) {
        path = source.substr(kFile.size());
    } else if (source.find(':') != std::string::npos || source.starts_with('|')) {
        ICT_THROW(messages::kUnsupportedPinSource, uri);
    }
    if (path.empty()) {
        ICT_THROW(messages::kUnsupportedPinSource, uri);
    }
    return path;
}

}  // namespace

bool Pkcs11Uri::Is(const std::string& text)
{
    return boost::algorithm::istarts_with(text, kScheme);
}

Pkcs11Uri::Pkcs11Uri(const std::string& text) : text_(text)
{
    std::vector<std::string> attributes;
    const std::size_t query = text.find('?');
    const std::string path = text.substr(
        kScheme.size(), query == std::string::npos ? std::string::npos : query - kScheme.size());
    boost::algorithm::split(attributes, path, [](char c) { return c == ';'; });
    const std::size_t pathAttributes = attributes.size();
    if (query != std::string::npos) {
        std::vector<std::string> queryAttributes;
        boost::algorithm::split(queryAttributes, text.substr(query + 1),
                                [](char c) { return c == '&'; });
        attributes.insert(attributes.end(), queryAttributes.begin(), queryAttributes.end());
    }
    // Before anything else is read, so that no message quotes the PIN.
    for (const std::string& attribute : attributes) {
        if (boost::algorithm::iequals(attribute.substr(0, attribute.find('=')), "pin-value")) {
            ICT_THROW(messages::kPinInUri);
        }
    }
    objectUri_ = kScheme;
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        const std::string& attribute = attributes[i];
        const std::size_t equals = attribute.find('=');
        const std::string name = attribute.substr(0, equals);
        const std::string value =
            equals == std::string::npos ? std::string() : attribute.substr(equals + 1);
        if (name == "module-path") {
            modulePath_ = Path(PercentDecoded(value, text));
        } else if (name == "pin-source") {
            pinFile_ = PinFileOf(PercentDecoded(value, text), text);
        } else if (i < pathAttributes && !attribute.empty()) {
            static_cast<void>(PercentDecoded(value, text));  // only checked
            objectUri_ += objectUri_.size() == kScheme.size() ? attribute : ";" + attribute;
        }
    }
    if (modulePath_ && modulePath_->empty()) {
        ICT_THROW(messages::kBadPkcs11Uri, text, "an empty module-path");
    }
}

}  // namespace integrity_check_tool::sign
