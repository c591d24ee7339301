#include "templates/native_text.h"

#include <algorithm>

namespace {

// The five bytes that the code page leaves undefined (81, 8D, 8F, 90, 9D) map to the control character of the
// same value.
char16_t fromCodePage1252(char byte) {
    constexpr char16_t from80[] = {
        0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
        0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
        0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
    };
    const auto number = static_cast<unsigned char>(byte);
    return number >= 0x80 && number < 0xA0 ? from80[number - 0x80] : static_cast<char16_t>(number);
}

} // namespace

// The library converts it to UTF-8, and throws for an unpaired surrogate, which has no UTF-8 form.
std::filesystem::path kzdxNativePath(const std::u16string& path) {
    return path;
}

std::u16string kzdxFromSystemCodePage(std::string_view bytes) {
    std::u16string text(bytes.size(), u'\0');
    std::ranges::transform(bytes, text.begin(), fromCodePage1252);
    return text;
}
