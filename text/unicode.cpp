#include "text/unicode.h"

#include "zelvane/names.h"

#include <algorithm>

namespace Text {

namespace {

std::size_t countOf(std::string_view part, std::string_view text) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

} // namespace

// An invalid sequence does not convert back to itself.
std::optional<std::u16string> toUtf16(std::string_view bytes) {
    std::u16string text = Zelvane::utf16(bytes);
    if (Zelvane::utf8(text) != bytes) return std::nullopt;
    return text;
}

std::string toUtf8(std::u16string_view text, std::size_t* replaced) {
    std::string bytes = Zelvane::utf8(text);
    if (replaced != nullptr) {
        const auto replacements = static_cast<std::size_t>(std::ranges::count(text, u'\uFFFD'));
        *replaced += countOf("\uFFFD", bytes) - replacements;
    }
    return bytes;
}

} // namespace Text
