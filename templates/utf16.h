#pragma once

#include <cstddef>
#include <string_view>

/// The code point that begins at `at`, which moves behind it. A surrogate without its partner is given as it
/// is. REQUIRES: at < text.size()
[[nodiscard]] constexpr char32_t nextCodePoint(std::u16string_view text, std::size_t& at) {
    const char32_t first = text[at++];
    if (first < 0xD800 || first > 0xDBFF || at == text.size()) return first;
    const char32_t second = text[at];
    if (second < 0xDC00 || second > 0xDFFF) return first;
    ++at;
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

/// Half of a pair, which stands for no character.
[[nodiscard]] constexpr bool isSurrogate(char32_t codePoint) {
    return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}
