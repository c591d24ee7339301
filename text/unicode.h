#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Between the UTF-16 of the host's strings and the UTF-8 of scripts, files and terminals.
namespace Text {

/// UTF-8 as UTF-16. Nothing when the bytes are not valid UTF-8 (overlong forms and surrogates are not).
[[nodiscard]] std::optional<std::u16string> toUtf16(std::string_view bytes);

/// UTF-16 as UTF-8. A surrogate without its other half becomes U+FFFD; how many did is added to `replaced`,
/// unless that is null.
[[nodiscard]] std::string toUtf8(std::u16string_view text, std::size_t* replaced = nullptr);

} // namespace Text
