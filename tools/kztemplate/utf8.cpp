#include "tools/kztemplate/utf8.h"

#include "templates/utf16.h"

namespace {

constexpr char32_t replacement = 0xFFFD;

void appendUtf16(std::u16string& to, char32_t codePoint) {
    if (codePoint < 0x10000) {
        to += static_cast<char16_t>(codePoint);
        return;
    }
    to += static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
    to += static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
}

int followersOf(unsigned char first) {
    if (first < 0xC0) return 0;
    if (first < 0xE0) return 1;
    return first < 0xF0 ? 2 : 3;
}

} // namespace

void appendUtf8(std::string& to, char32_t codePoint) {
    const auto byte = [&](char32_t mark, int shift, char32_t mask) {
        to += static_cast<char>(mark | ((codePoint >> shift) & mask));
    };
    if (codePoint < 0x80) return byte(0, 0, 0x7F);
    if (codePoint < 0x800) {
        byte(0xC0, 6, 0x1F);
    } else if (codePoint < 0x10000) {
        byte(0xE0, 12, 0x0F);
        byte(0x80, 6, 0x3F);
    } else {
        byte(0xF0, 18, 0x07);
        byte(0x80, 12, 0x3F);
        byte(0x80, 6, 0x3F);
    }
    byte(0x80, 0, 0x3F);
}

std::string utf8FromUtf16(std::u16string_view text, std::size_t& replaced) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const char32_t codePoint = nextCodePoint(text, at);
        if (isSurrogate(codePoint)) ++replaced;
        appendUtf8(result, isSurrogate(codePoint) ? replacement : codePoint);
    }
    return result;
}

std::u16string utf16FromUtf8(std::string_view text) {
    std::u16string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const auto first = static_cast<unsigned char>(text[at++]);
        const int followers = followersOf(first);
        char32_t codePoint = followers == 0 ? first : first & (0x3FU >> followers);
        for (int i = 0; i < followers && at < text.size(); ++i)
            codePoint = codePoint << 6 | (static_cast<unsigned char>(text[at++]) & 0x3FU);
        appendUtf16(result, codePoint);
    }
    return result;
}
