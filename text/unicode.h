#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Conversion between the UTF-16 of the host's strings and the UTF-8 of scripts, files and terminals.
namespace Text {

/// Converts UTF-8 to UTF-16. No value if the bytes are not valid UTF-8 (overlong forms and surrogates are
/// not).
[[nodiscard]] std::optional<std::u16string> toUtf16(std::string_view bytes);

/// Converts UTF-16 to UTF-8. An unpaired surrogate becomes U+FFFD; their number is added to `replaced`,
/// unless it is null.
[[nodiscard]] std::string toUtf8(std::u16string_view text, std::size_t* replaced = nullptr);

} // namespace Text
