#include "xml/nesting.h"

#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>

namespace integrity_check_tool::xml {

namespace {

// The parser recurses once per element level, so the depth it reaches is
// found by walking the text exactly as it tokenises it: the same character
// classes (from <cctype>, so the same locale), the same multi-byte steps once
// the document is known to be UTF-8, the same entity skips and the same
// places where it gives up. Every function returns the position after what
// it consumed, or null where the parser stops.
class Scanner {
public:
    explicit Scanner(std::size_t limit) : limit_(limit)
    {
        // <cctype> answers per call through the locale; a table read once
        // answers the same for the whole scan.
        for (int c = 0; c < 256; ++c) {
            const auto byte = static_cast<unsigned char>(c);
            classes_[byte] = static_cast<unsigned char>(
                (std::isspace(c) != 0 || c == '\n' || c == '\r' ? kWhite : 0) |
                (c >= 127 || std::isalpha(c) != 0 ? kAlpha : 0) |
                (c >= 127 || std::isalnum(c) != 0 ? kAlphaNum : 0));
            lower_[byte] = std::tolower(c);
        }
    }

    std::size_t Run(const char* p)
    {
        if (*p == 0) {
            return 0;
        }
        const auto* bytes = reinterpret_cast<const unsigned char*>(p);
        if (bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF) {
            mode_ = Mode::Utf8;
        }
        p = SkipWhite(p);
        while (p != nullptr && *p != 0 && !overflow_) {
            if (*p != '<') {
                break;
            }
            const bool declaration = IsDeclaration(p);
            std::string encoding;
            p = Node(p, 0, declaration && mode_ == Mode::Unknown ? &encoding : nullptr);
            if (declaration && mode_ == Mode::Unknown) {
                mode_ = encoding.empty() || StartsNoCase(encoding.c_str(), "UTF-8") ||
                                StartsNoCase(encoding.c_str(), "UTF8")
                            ? Mode::Utf8
                            : Mode::Legacy;
            }
            if (p != nullptr) {
                p = SkipWhite(p);
            }
        }
        return overflow_ ? limit_ + 1 : deepest_;
    }

private:
    enum class Mode { Unknown, Utf8, Legacy };

    enum : unsigned char { kWhite = 1, kAlpha = 2, kAlphaNum = 4 };

    bool Is(char c, unsigned char kind) const
    {
        return (classes_[static_cast<unsigned char>(c)] & kind) != 0;
    }
    bool IsWhite(char c) const { return Is(c, kWhite); }
    bool IsNameStart(char c) const { return Is(c, kAlpha) || c == '_'; }
    bool IsNameChar(char c) const
    {
        return Is(c, kAlphaNum) || c == '_' || c == '-' || c == '.' || c == ':';
    }

    // Called at every byte of text, so no strlen.
    static bool Starts(const char* p, const char* tag)
    {
        for (; *tag != 0; ++p, ++tag) {
            if (*p != *tag) {
                return false;
            }
        }
        return true;
    }

    int Lower(char c) const
    {
        const auto byte = static_cast<unsigned char>(c);
        if (mode_ == Mode::Utf8 && byte >= 128) {
            return byte;
        }
        return lower_[byte];
    }

    bool StartsNoCase(const char* p, const char* tag) const
    {
        for (; *tag != 0; ++p, ++tag) {
            if (*p == 0 || Lower(*p) != Lower(*tag)) {
                return false;
            }
        }
        return true;
    }

    bool IsDeclaration(const char* p) const { return StartsNoCase(p, "<?xml"); }

    const char* SkipWhite(const char* p) const
    {
        if (mode_ == Mode::Utf8) {
            while (*p != 0) {
                const auto* bytes = reinterpret_cast<const unsigned char*>(p);
                if (bytes[0] == 0xEF &&
                    ((bytes[1] == 0xBB && bytes[2] == 0xBF) ||
                     (bytes[1] == 0xBF && (bytes[2] == 0xBE || bytes[2] == 0xBF)))) {
                    p += 3;
                } else if (IsWhite(*p)) {
                    ++p;
                } else {
                    break;
                }
            }
            return p;
        }
        while (*p != 0 && IsWhite(*p)) {
            ++p;
        }
        return p;
    }

    // One character of text; entities may span many bytes.
    const char* Char(const char* p, std::string* out) const
    {
        const auto byte = static_cast<unsigned char>(*p);
        if (mode_ == Mode::Utf8) {
            const int length = byte < 0xC2   ? 1
                               : byte < 0xE0 ? 2
                               : byte < 0xF0 ? 3
                               : byte < 0xF5 ? 4
                                             : 1;
            if (length > 1) {
                return p + length;
            }
        }
        if (*p != '&') {
            if (out != nullptr) {
                *out += *p;
            }
            return p + 1;
        }
        return Entity(p, out);
    }

    static const char* Entity(const char* p, std::string* out)
    {
        if (p[1] == '#' && p[2] != 0) {
            const bool hex = p[2] == 'x';
            if (hex && p[3] == 0) {
                return nullptr;
            }
            const char* end = std::strchr(p + (hex ? 3 : 2), ';');
            if (end == nullptr) {
                return nullptr;
            }
            unsigned long code = 0;
            unsigned long weight = 1;
            for (const char* q = end - 1; *q != (hex ? 'x' : '#'); --q) {
                unsigned long digit = 0;
                if (*q >= '0' && *q <= '9') {
                    digit = static_cast<unsigned long>(*q) - '0';
                } else if (hex && *q >= 'a' && *q <= 'f') {
                    digit = static_cast<unsigned long>(*q) - 'a' + 10;
                } else if (hex && *q >= 'A' && *q <= 'F') {
                    digit = static_cast<unsigned long>(*q) - 'A' + 10;
                } else {
                    return nullptr;
                }
                code += weight * digit;
                weight *= hex ? 16 : 10;
            }
            if (out != nullptr) {
                *out += static_cast<char>(code);
            }
            return end + 1;
        }
        static constexpr std::pair<const char*, char> kNamed[] = {
            {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
        for (const auto& [name, character] : kNamed) {
            if (Starts(p, name)) {
                if (out != nullptr) {
                    *out += character;
                }
                return p + std::strlen(name);
            }
        }
        if (out != nullptr) {
            *out += '&';
        }
        return p + 1;
    }

    // Text up to `end`, which is consumed even when the text ends first.
    const char* Text(const char* p, const char* end, bool condense, std::string* out) const
    {
        if (condense) {
            p = SkipWhite(p);
        }
        while (p != nullptr && *p != 0 && !Starts(p, end)) {
            if (condense && IsWhite(*p)) {
                ++p;
            } else {
                p = Char(p, out);
            }
        }
        return p == nullptr ? nullptr : p + std::strlen(end);
    }

    // Text(p, quote, false, nullptr), eight bytes at a time while none of
    // them needs a look: attribute values are most of a manifest. The
    // padding after the text keeps the reads inside the buffer.
    const char* SkipQuoted(const char* p, char quote) const
    {
        constexpr std::uint64_t kOnes = 0x0101010101010101u;
        constexpr std::uint64_t kHigh = kOnes << 7;
        const std::uint64_t stops[] = {0, kOnes * static_cast<unsigned char>(quote), kOnes * '&'};
        while (p != nullptr) {
            for (;;) {
                std::uint64_t word = 0;
                std::memcpy(&word, p, sizeof word);
                std::uint64_t found = mode_ == Mode::Utf8 ? word & kHigh : 0;
                for (const std::uint64_t stop : stops) {
                    const std::uint64_t zero = word ^ stop;
                    found |= (zero - kOnes) & ~zero & kHigh;
                }
                if (found != 0) {
                    break;
                }
                p += sizeof word;
            }
            if (*p == 0 || *p == quote) {
                return p + 1;
            }
            const auto byte = static_cast<unsigned char>(*p);
            p = byte == '&' || (mode_ == Mode::Utf8 && byte >= 0xC2) ? Char(p, nullptr) : p + 1;
        }
        return nullptr;
    }

    const char* Name(const char* p) const
    {
        if (!IsNameStart(*p)) {
            return nullptr;
        }
        while (IsNameChar(*p)) {
            ++p;
        }
        return p;
    }

    const char* Attribute(const char* p, std::string* value) const
    {
        p = SkipWhite(p);
        if (*p == 0 || (p = Name(p)) == nullptr || *p == 0) {
            return nullptr;
        }
        p = SkipWhite(p);
        if (*p != '=') {
            return nullptr;
        }
        p = SkipWhite(p + 1);
        if (*p == 0) {
            return nullptr;
        }
        if (*p == '\'' || *p == '"') {
            if (value == nullptr) {
                return SkipQuoted(p + 1, *p);
            }
            const char quote[2] = {*p, 0};
            return Text(p + 1, quote, false, value);
        }
        while (*p != 0 && !IsWhite(*p) && *p != '/' && *p != '>') {
            if (*p == '\'' || *p == '"') {
                return nullptr;
            }
            ++p;
        }
        return p;
    }

    const char* Declaration(const char* p, std::string* encoding) const
    {
        p += 5;
        while (p != nullptr && *p != 0) {
            if (*p == '>') {
                return p + 1;
            }
            p = SkipWhite(p);
            if (*p == 0) {
                break;
            }
            if (StartsNoCase(p, "version") || StartsNoCase(p, "standalone")) {
                p = Attribute(p, nullptr);
            } else if (StartsNoCase(p, "encoding")) {
                std::string value;
                p = Attribute(p, &value);
                if (encoding != nullptr) {
                    *encoding = std::move(value);
                }
            } else {
                while (*p != 0 && *p != '>' && !IsWhite(*p)) {
                    ++p;
                }
            }
        }
        return nullptr;
    }

    static const char* SkipPast(const char* p, const char* end)
    {
        while (*p != 0 && !Starts(p, end)) {
            ++p;
        }
        return p + std::strlen(end);
    }

    // The node that starts at `p` (a '<'), inside an element at `depth`.
    const char* Node(const char* p, std::size_t depth, std::string* encoding)
    {
        if (IsDeclaration(p)) {
            return Declaration(p, encoding);
        }
        if (Starts(p, "<!--")) {
            return SkipPast(p + 4, "-->");
        }
        if (Starts(p, "<![CDATA[")) {
            return SkipPast(p + 9, "]]>");
        }
        if (!Starts(p, "<!") && IsNameStart(p[1])) {
            return Element(p, depth + 1);
        }
        for (++p; *p != 0 && *p != '>'; ++p) {
        }
        return *p == '>' ? p + 1 : p;
    }

    const char* Element(const char* p, std::size_t depth)
    {
        if (depth > limit_) {
            overflow_ = true;
            return nullptr;
        }
        deepest_ = std::max(deepest_, depth);
        p = SkipWhite(p + 1);
        const char* name = p;
        if ((p = Name(p)) == nullptr || *p == 0) {
            return nullptr;
        }
        const std::string end = "</" + std::string(name, p);
        while (*p != 0) {
            p = SkipWhite(p);
            if (*p == 0) {
                return nullptr;
            }
            if (*p == '/') {
                return p[1] == '>' ? p + 2 : nullptr;
            }
            if (*p == '>') {
                p = Content(p + 1, depth);
                if (p == nullptr || *p == 0 || !Starts(p, end.c_str())) {
                    return nullptr;
                }
                p = SkipWhite(p + end.size());
                return *p == '>' ? p + 1 : nullptr;
            }
            if ((p = Attribute(p, nullptr)) == nullptr || *p == 0) {
                return nullptr;
            }
        }
        return p;
    }

    const char* Content(const char* p, std::size_t depth)
    {
        p = SkipWhite(p);
        while (p != nullptr && *p != 0 && !overflow_) {
            if (*p != '<') {
                p = Text(p, "<", true, nullptr);
                p = p != nullptr && *p != 0 ? p - 1 : nullptr;
            } else if (Starts(p, "</")) {
                return p;
            } else {
                p = Node(p, depth, nullptr);
            }
            if (p != nullptr) {
                p = SkipWhite(p);
            }
        }
        return p;
    }

    std::array<unsigned char, 256> classes_{};
    std::array<int, 256> lower_{};
    std::size_t limit_;
    std::size_t deepest_ = 0;
    bool overflow_ = false;
    Mode mode_ = Mode::Unknown;
};

}  // namespace

std::size_t MaxNesting(std::string_view text, std::size_t limit) noexcept
{
    try {
        return Scanner(limit).Run(text.data());
    } catch (...) {
        // Only an allocation can fail; refuse the document rather than guess.
        return limit + 1;
    }
}

}  // namespace integrity_check_tool::xml
