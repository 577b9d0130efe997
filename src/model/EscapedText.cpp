// SPDX-License-Identifier: MIT
#include <tallywick/model/EscapedText.h>

#include <cstdio>

namespace tallywick::EscapedText {
namespace {

struct CodePoint {
    char32_t value = 0;
    std::size_t length = 0;  // 0: the byte at hand starts no UTF-8 sequence
};

// The code point at `at`, checked the way a strict decoder checks it
// (no overlong forms, no surrogates, nothing past U+10FFFF).
CodePoint decode(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[at + k]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    std::size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return {};
    }
    if (at + length > text.size()) return {};
    char32_t value = lead & (0x7F >> length);
    for (std::size_t k = 1; k < length; ++k) {
        const unsigned char next = byte(k);
        if (next < (k == 1 ? low : 0x80) || next > (k == 1 ? high : 0xBF)) return {};
        value = (value << 6) | (next & 0x3F);
    }
    return {value, length};
}

bool isBidiControl(char32_t c) {
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

// Spaces that show nothing and join nothing: they only hide one name
// inside another that looks the same.
bool isInvisibleSpace(char32_t c) {
    return c == 0x200B || c == 0x2060 || c == 0xFEFF;
}

// What a terminal acts on beyond the C0 controls, or hides.
bool isActive(char32_t c) {
    return c == 0x7F || (c >= 0x80 && c <= 0x9F) || isBidiControl(c) || isInvisibleSpace(c);
}

void append(std::string& out, const char* format, unsigned value) {
    char escape[16];
    std::snprintf(escape, sizeof escape, format, value);
    out += escape;
}

// `text` with each code point passed to `write(out, value, bytes)`, which
// appends it escaped or as it stands, and each byte that starts no UTF-8
// sequence passed to `invalid(out, byte)`.
template <class Write, class Invalid>
std::string rewrite(std::string_view text, Write write, Invalid invalid) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const CodePoint c = decode(text, at);
        if (c.length == 0) {
            invalid(out, static_cast<unsigned char>(text[at]));
            ++at;
        } else {
            write(out, c.value, text.substr(at, c.length));
            at += c.length;
        }
    }
    return out;
}

}  // namespace

std::string of(std::string_view text) {
    return rewrite(
        text,
        [](std::string& out, char32_t c, std::string_view bytes) {
            switch (c) {
                case '\\': out += "\\\\"; return;
                case '\n': out += "\\n"; return;
                case '\r': out += "\\r"; return;
                case '\t': out += "\\t"; return;
                default: break;
            }
            if (c < 0x20 || c == 0x7F)
                append(out, "\\x%02x", static_cast<unsigned>(c));
            else if (isActive(c))
                append(out, "\\u%04x", static_cast<unsigned>(c));
            else
                out += bytes;
        },
        [](std::string& out, unsigned char byte) { append(out, "\\x%02x", byte); });
}

std::string json(std::string_view json) {
    return rewrite(
        json,
        [](std::string& out, char32_t c, std::string_view bytes) {
            if (isActive(c))
                append(out, "\\u%04x", static_cast<unsigned>(c));
            else
                out += bytes;
        },
        // Only inside a string can such a byte be; it stands for itself nowhere.
        [](std::string& out, unsigned char) { out += "\\ufffd"; });
}

}  // namespace tallywick::EscapedText
