// UTF-8 and UTF-16: every character goes both ways, and every malformed sequence is refused.

#include "text/unicode.h"

#include <gtest/gtest.h>

using namespace Text;

namespace {

TEST(Unicode, EveryCharacterComesBack) {
    for (char32_t code = 1; code < 0x110000; code += code < 0x3000 ? 1 : 0xFB) {
        if (code >= 0xD800 && code < 0xE000) continue;
        std::u16string text;
        if (code < 0x10000) {
            text = {static_cast<char16_t>(code)};
        } else {
            text = {static_cast<char16_t>(0xD7C0 + (code >> 10U)),
                    static_cast<char16_t>(0xDC00 | (code & 0x3FFU))};
        }
        const std::string bytes = toUtf8(text);
        ASSERT_EQ(toUtf16(bytes), text) << std::hex << static_cast<unsigned>(code);
        for (std::size_t cut = 1; cut < bytes.size(); ++cut) {
            ASSERT_FALSE(toUtf16(bytes.substr(0, cut)).has_value()) << "cut at " << cut;
        }
    }
}

TEST(Unicode, MalformedBytesAreRefused) {
    for (const char* bytes :
         {"\x80", "\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x80\x80\x80",
          "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xC2\x41", "a\xFF"}) {
        EXPECT_FALSE(toUtf16(bytes).has_value()) << bytes;
    }
}

TEST(Unicode, HalfPairsAreReplacedAndCounted) {
    std::size_t replaced = 1;
    const char16_t units[] = {0xDE00, u'a', 0xD83D, 0xD83D, 0xDE00, 0xD83D};
    EXPECT_EQ(toUtf8({units, std::size(units)}, &replaced), "\uFFFDa\uFFFD\U0001F600\uFFFD");
    EXPECT_EQ(replaced, 4U);
}

} // namespace
