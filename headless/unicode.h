#pragma once

#include "headless/export.h"

#include <optional>
#include <string>
#include <string_view>

namespace Headless {

/// UTF-8 as UTF-16. Nothing when the bytes are not valid UTF-8 (overlong forms and surrogates are not).
[[nodiscard]] HEADLESS_API std::optional<std::u16string> toUtf16(std::string_view bytes);

/// UTF-16 as UTF-8. A surrogate without its other half becomes U+FFFD.
[[nodiscard]] HEADLESS_API std::string toUtf8(std::u16string_view text);

} // namespace Headless
