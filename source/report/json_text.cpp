#include "report/json_text.h"

#include <array>
#include <cstdint>

namespace integrity_check_tool {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// Length of the valid UTF-8 sequence at `bytes[at]`, 0 when there is none
/// (overlong forms, surrogates and code points past U+10FFFF included).
std::size_t SequenceLength(std::string_view bytes, std::size_t at)
{
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(bytes[at + i]); };
    const std::uint8_t lead = byte(0);
    if (lead < 0x80) {
        return 1;
    }
    std::size_t length = 0;
    std::uint8_t low = 0x80;
    std::uint8_t high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        low = lead == 0xE0 ? 0xA0 : 0x80;
        high = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        low = lead == 0xF0 ? 0x90 : 0x80;
        high = lead == 0xF4 ? 0x8F : 0xBF;
    } else {
        return 0;
    }
    if (bytes.size() - at < length || byte(1) < low || byte(1) > high) {
        return 0;
    }
    for (std::size_t i = 2; i < length; ++i) {
        if (byte(i) < 0x80 || byte(i) > 0xBF) {
            return 0;
        }
    }
    return length;
}

}  // namespace

std::string ValidUtf8(std::string_view bytes)
{
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t length = SequenceLength(bytes, at);
        if (length == 0) {
            text += kReplacement;
            ++at;
        } else {
            text.append(bytes.substr(at, length));
            at += length;
        }
    }
    return text;
}

bool IsValidUtf8(std::string_view bytes)
{
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t length = SequenceLength(bytes, at);
        if (length == 0) {
            return false;
        }
        at += length;
    }
    return true;
}

std::string JsonString(std::string_view text)
{
    std::string json;
    AppendJsonString(json, text);
    return json;
}

void AppendJsonString(std::string& json, std::string_view text)
{
    static constexpr std::array<char, 16> kHex{'0', '1', '2', '3', '4', '5', '6', '7',
                                               '8', '9', 'a', 'b', 'c', 'd', 'e', 'f'};
    // Most text is plain: it is checked once and copied in runs.
    std::string repaired;
    for (const char c : text) {
        if (static_cast<std::uint8_t>(c) >= 0x80) {
            if (!IsValidUtf8(text)) {
                repaired = ValidUtf8(text);
                text = repaired;
            }
            break;
        }
    }
    json += '"';
    std::size_t run = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const auto byte = static_cast<std::uint8_t>(c);
        if (c != '"' && c != '\\' && byte >= 0x20 && byte != 0x7F) {
            continue;
        }
        json.append(text.substr(run, i - run));
        run = i + 1;
        switch (c) {
        case '"':
            json += "\\\"";
            break;
        case '\\':
            json += "\\\\";
            break;
        case '\n':
            json += "\\n";
            break;
        case '\r':
            json += "\\r";
            break;
        case '\t':
            json += "\\t";
            break;
        default:
            json += "\\u00";
            json += kHex.at(byte >> 4);
            json += kHex.at(byte & 0xF);
        }
    }
    json.append(text.substr(run));
    json += '"';
}

}  // namespace integrity_check_tool
