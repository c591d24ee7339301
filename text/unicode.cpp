#include "text/unicode.h"

#include <utf8.h>

namespace Text {

namespace {

constexpr char16_t replacement = 0xFFFD;

constexpr bool isLead(char16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

constexpr bool isTrail(char16_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

// The library refuses a whole text for one of them.
std::size_t replaceLoneSurrogates(std::u16string& text) {
    std::size_t count = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (isLead(text[at]) && at + 1 < text.size() && isTrail(text[at + 1])) {
            ++at;
        } else if (isLead(text[at]) || isTrail(text[at])) {
            text[at] = replacement;
            ++count;
        }
    }
    return count;
}

} // namespace

std::optional<std::u16string> toUtf16(std::string_view bytes) {
    if (!utf8::is_valid(bytes.begin(), bytes.end())) return std::nullopt;
    return utf8::utf8to16(bytes);
}

std::string toUtf8(std::u16string_view text, std::size_t* replaced) {
    std::u16string paired(text);
    const std::size_t count = replaceLoneSurrogates(paired);
    if (replaced != nullptr) *replaced += count;
    return utf8::utf16to8(paired);
}

} // namespace Text
