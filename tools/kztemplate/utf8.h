#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Appends a code point. REQUIRES: it is a character, not a surrogate.
void appendUtf8(std::string& to, char32_t codePoint);

/// The text in UTF-8. A surrogate without its partner becomes U+FFFD and is counted in `replaced`.
[[nodiscard]] std::string utf8FromUtf16(std::u16string_view text, std::size_t& replaced);

/// The text in UTF-16. REQUIRES: valid UTF-8, as a JSON parser gives it.
[[nodiscard]] std::u16string utf16FromUtf8(std::string_view text);
