#pragma once

/// @file
/// Conversion of the host's texts from and to UTF-8.

#include <cstddef>
#include <string>
#include <string_view>

/// Conversions between UTF-16, the encoding of the host's texts, and UTF-8. Invalid input becomes U+FFFD.
namespace Zelvane {

namespace detail {

inline constexpr char32_t replacementCharacter = 0xFFFD;

/// Whether a code point is valid in a text.
constexpr bool isScalar(char32_t c) {
    return c < 0x110000 && (c < 0xD800 || c >= 0xE000);
}

/// Removes the first code point of a text, which must not be empty.
inline char32_t takeCodePoint(std::u16string_view& text) {
    const char32_t first = text.front();
    text.remove_prefix(1);
    if (isScalar(first)) return first;
    const bool isPair = first < 0xDC00 && !text.empty() && text.front() >= 0xDC00 && text.front() < 0xE000;
    if (!isPair) return replacementCharacter;
    const char32_t second = text.front();
    text.remove_prefix(1);
    return 0x10000 + ((first - 0xD800) << 10U) + (second - 0xDC00);
}

/// The same for UTF-8. If a sequence is incomplete, overlong or not a character, removes one byte.
inline char32_t takeCodePoint(std::string_view& text) {
    const auto byteAt = [&](std::size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
    };
    const char32_t lead = byteAt(0);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    char32_t c = length < 2 ? lead : lead & (0x7FU >> length);
    bool isValid = length != 0 && lead < 0xF8;
    for (std::size_t at = 1; at < length; ++at) {
        isValid = isValid && (byteAt(at) & 0xC0U) == 0x80;
        c = c << 6U | (byteAt(at) & 0x3FU);
    }
    isValid = isValid && c >= least[length] && isScalar(c);
    text.remove_prefix(isValid ? length : 1);
    return isValid ? c : replacementCharacter;
}

inline void append(std::string& text, char32_t c) {
    const auto put = [&text](char32_t byte) { text += static_cast<char>(byte); };
    if (c < 0x80) return put(c);
    if (c < 0x800) {
        put(0xC0 | c >> 6U);
    } else {
        put(c < 0x10000 ? 0xE0 | c >> 12U : 0xF0 | c >> 18U);
        if (c >= 0x10000) put(0x80 | (c >> 12U & 0x3F));
        put(0x80 | (c >> 6U & 0x3F));
    }
    put(0x80 | (c & 0x3F));
}

inline void append(std::u16string& text, char32_t c) {
    if (c < 0x10000) {
        text += static_cast<char16_t>(c);
    } else {
        text += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10U));
        text += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    }
}

} // namespace detail

/// Converts a text of the host to UTF-8: `std::puts(utf8(name).c_str())`.
[[nodiscard]] inline std::string utf8(std::u16string_view text) {
    std::string result;
    while (!text.empty()) detail::append(result, detail::takeCodePoint(text));
    return result;
}

/// Converts UTF-8 to a text of the host: `table->getAt(utf16(name).c_str(), id, false)`.
[[nodiscard]] inline std::u16string utf16(std::string_view text) {
    std::u16string result;
    while (!text.empty()) detail::append(result, detail::takeCodePoint(text));
    return result;
}

} // namespace Zelvane
