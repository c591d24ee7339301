#include "headless/unicode.h"

#include <array>
#include <cstdint>

namespace Headless {

namespace {

constexpr char32_t replacement = 0xFFFD;

constexpr bool isSurrogate(char32_t code) {
    return code >= 0xD800 && code < 0xE000;
}

/// How many bytes a sequence has by its first byte, the first one included; 0 for a byte that starts none.
std::size_t sequenceLength(unsigned char first) {
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first < 0xE0) return 2;
    if (first >= 0xE0 && first < 0xF0) return 3;
    if (first >= 0xF0 && first < 0xF5) return 4;
    return 0;
}

/// Decodes the sequence at the start of `bytes`, which has `length` bytes by its first one.
std::optional<char32_t> decode(std::string_view bytes, std::size_t length) {
    static constexpr std::array<char32_t, 5> firstMask = {0, 0x7F, 0x1F, 0x0F, 0x07};
    static constexpr std::array<char32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
    if (length == 0 || length > bytes.size()) return std::nullopt;
    char32_t code = static_cast<unsigned char>(bytes[0]) & firstMask[length];
    for (std::size_t at = 1; at < length; ++at) {
        const auto byte = static_cast<unsigned char>(bytes[at]);
        if ((byte & 0xC0U) != 0x80) return std::nullopt;
        code = (code << 6U) | (byte & 0x3FU);
    }
    if (code < smallest[length] || code > 0x10FFFF || isSurrogate(code)) return std::nullopt;
    return code;
}

void append(std::u16string& text, char32_t code) {
    if (code < 0x10000) {
        text.push_back(static_cast<char16_t>(code));
        return;
    }
    text.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10U)));
    text.push_back(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FFU)));
}

void append(std::string& bytes, char32_t code) {
    const auto tail = [code](unsigned shift) { return static_cast<char>(0x80U | ((code >> shift) & 0x3FU)); };
    if (code < 0x80) {
        bytes.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        bytes.append({static_cast<char>(0xC0U | (code >> 6U)), tail(0)});
    } else if (code < 0x10000) {
        bytes.append({static_cast<char>(0xE0U | (code >> 12U)), tail(6), tail(0)});
    } else {
        bytes.append({static_cast<char>(0xF0U | (code >> 18U)), tail(12), tail(6), tail(0)});
    }
}

} // namespace

std::optional<std::u16string> toUtf16(std::string_view bytes) {
    std::u16string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::size_t length = sequenceLength(static_cast<unsigned char>(bytes[0]));
        const std::optional<char32_t> code = decode(bytes, length);
        if (!code.has_value()) return std::nullopt;
        append(text, *code);
        bytes.remove_prefix(length);
    }
    return text;
}

std::string toUtf8(std::u16string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t code = text[at];
        if (isSurrogate(code)) {
            const bool isPair = code < 0xDC00 && at + 1 < text.size() && (text[at + 1] & 0xFC00U) == 0xDC00;
            code =
                isPair ? 0x10000 + ((code - 0xD800) << 10U) + (text[at + 1] - char32_t{0xDC00}) : replacement;
            if (isPair) ++at;
        }
        append(bytes, code);
    }
    return bytes;
}

} // namespace Headless
