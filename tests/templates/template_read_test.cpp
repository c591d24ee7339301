// Guards the reading of template files: every form that the format allows, and what is refused, where, and
// that a refusal leaves nothing behind.
#include "tests/templates/template_properties.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

const std::string endsEarly = kzdxDescribe(KzDxArchiveError::endsEarly);
const std::string tooLong = kzdxDescribe(KzDxArchiveError::stringTooLong);
const std::string noClass = kzdxDescribe(KzDxArchiveError::noSuchClass);
const std::string noObject = kzdxDescribe(KzDxArchiveError::noSuchObject);

bool isRefused(const std::string& result) {
    return result.find(" at byte ") != std::string::npos;
}

std::string readWithName(const TemplateBytes& name) {
    TemplateBytes all;
    all.start(1).classDefinition();
    all.bytes.insert(all.bytes.end(), name.bytes.begin(), name.bytes.end());
    return read(all.u32(1).u32(0));
}

// The file begins with two blocks A and B (class 1, objects 2 and 3); the third element is what is given.
std::string readThird(const TemplateBytes& element) {
    TemplateBytes all;
    all.start(3).classDefinition().body(u"A").u16(0x8001).body(u"B");
    all.bytes.insert(all.bytes.end(), element.bytes.begin(), element.bytes.end());
    return read(all);
}

TEST(TemplateRead, FormsInPartsOfAnySize) {
    const auto all = variedBytes();
    const std::string expected = "1: A=1(ab=0 c=5) ^0 B=0(x=1) C=1() ^3 D=0()";
    EXPECT_EQ(read(variedBytes().u32(0x12345678)), expected); // bytes behind the last element are ignored
    for (std::size_t step = 1; step < 60; ++step) {
        Trickle source(all.bytes, step);
        EXPECT_EQ(read(source), expected) << step;
    }
}

TEST(TemplateRead, CutFileIsRefused) {
    EXPECT_EQ(read(longestBytes()), "-1: A=1() B=1() C=1() D=1() E=1()");
    for (const auto& all : {exampleBytes(), variedBytes(), longestBytes()}) {
        for (std::size_t size = 0; size < all.bytes.size(); ++size)
            EXPECT_PRED1(isRefused, read(std::span(all.bytes).first(size))) << size;
    }
}

TEST(TemplateRead, DamagedBytesKeepTheProperties) {
    for (auto all : {exampleBytes(), variedBytes(), longestBytes()}) {
        EXPECT_EQ(violatedProperty(all.bytes), "");
        for (std::byte& byte : all.bytes) {
            for (const unsigned damage : {1U, 2U, 4U, 8U, 16U, 32U, 64U, 128U, 255U}) {
                byte ^= static_cast<std::byte>(damage);
                ASSERT_EQ(violatedProperty(all.bytes), "") << "byte " << &byte - all.bytes.data();
                byte ^= static_cast<std::byte>(damage);
            }
        }
    }
}

TEST(TemplateRead, LengthsBeyondTheFileAreRefused) {
    const auto all64 = ~std::uint64_t{0};
    EXPECT_EQ(read(TemplateBytes().u32(1).u16(0xFFFF).u32(0xFFFFFFFF).u64(all64)), endsEarly + " at byte 18");
    EXPECT_EQ(readWithName(TemplateBytes().u8(0xFF).u16(0xFFFF).u32(0xFFFFFFFF).u64(all64)),
              tooLong + " at byte 26");
    const auto wide = TemplateBytes().u8(0xFF).u16(0xFFFE).u8(0xFF).u16(0xFFFF);
    EXPECT_EQ(readWithName(TemplateBytes(wide).u32(0xFFFFFFFF).u64(all64)), tooLong + " at byte 26");
    EXPECT_EQ(readWithName(TemplateBytes(wide).u32(0xFFFFFFFF).u64(all64 / 2 + 2)),
              tooLong + " at byte 26"); // 2 bytes each
    EXPECT_EQ(readWithName(TemplateBytes(wide).u32(0xFFFFFFFE)), tooLong + " at byte 26");
    // 10 bytes are left: 5 units, not 6.
    const auto short8 = TemplateBytes().u8(0xFF).u16(0xFFFE);
    EXPECT_EQ(readWithName(TemplateBytes(short8).u8(6).units(u"A")), tooLong + " at byte 26");
    EXPECT_EQ(readWithName(TemplateBytes(short8).u8(5).units(u"A")), endsEarly + " at byte 40");
    EXPECT_EQ(read(TemplateBytes().start(1).classDefinition().text(u"A").u32(1).u32(0x7FFFFFFF)),
              endsEarly + " at byte 40");
}

// FFFE behind the marker is a length like any other.
TEST(TemplateRead, MarkerIsNotReadTwice) {
    const std::u16string name(0xFFFE, u'n');
    const auto all = TemplateBytes().u8(0xFF).u16(0xFFFE).u8(0xFF).u16(0xFFFE).units(name);
    EXPECT_EQ(readWithName(all), "1: " + std::string(name.size(), 'n') + "=1()");
}

// The characters as they are seen; the five that the code page leaves open are control characters.
TEST(TemplateRead, SingleBytesAreCodePage1252) {
    std::u16string expected = u"€\u0081‚ƒ„…†‡ˆ‰Š‹Œ\u008DŽ\u008F\u0090‘’“”•–—˜™š›œ\u009DžŸ";
    std::string bytes;
    for (unsigned byte = 0x80; byte < 0x100; ++byte) bytes += static_cast<char>(byte);
    for (char16_t same = 0xA0; same < 0x100; ++same) expected += same;
    EXPECT_EQ(readWithName(TemplateBytes().u8(0x80).plain(bytes)), "1: " + shown(expected) + "=1()");
    EXPECT_EQ(readWithName(TemplateBytes().u8(2).plain("A\x7F")), "1: A{127}=1()");
}

TEST(TemplateRead, TagsNameEarlierClassesAndObjects) {
    EXPECT_EQ(readThird(TemplateBytes().u16(0)), "1: A=1() B=1()");
    EXPECT_EQ(readThird(TemplateBytes().u16(0x7FFF).u32(0)), "1: A=1() B=1()"); // null, in the long form
    EXPECT_EQ(readThird(TemplateBytes().u16(3)), "1: A=1() B=1() ^1");
    EXPECT_EQ(readThird(TemplateBytes().u16(0x7FFF).u32(2)), "1: A=1() B=1() ^0");
    EXPECT_EQ(readThird(TemplateBytes().u16(0x7FFF).u32(0x80000001).body(u"C")), "1: A=1() B=1() C=1()");

    for (const unsigned tag : {0x8000U, 0x8002U, 0x8003U, 0x8004U, 0xFFFEU}) {
        EXPECT_EQ(readThird(TemplateBytes().u16(static_cast<std::uint16_t>(tag)).body(u"C")),
                  noClass + " at byte 56")
            << tag;
    }
    for (const unsigned tag : {0x80000000U, 0x80000002U, 0x80000004U, 0xFFFFFFFFU})
        EXPECT_EQ(readThird(TemplateBytes().u16(0x7FFF).u32(tag).body(u"C")), noClass + " at byte 56") << tag;
    for (const unsigned tag : {1U, 4U, 0x7FFEU})
        EXPECT_EQ(readThird(TemplateBytes().u16(static_cast<std::uint16_t>(tag))), noObject + " at byte 56");
    for (const unsigned tag : {1U, 4U, 0x7FFFFFFFU})
        EXPECT_EQ(readThird(TemplateBytes().u16(0x7FFF).u32(tag)), noObject + " at byte 56");
}

TEST(TemplateRead, OtherClassesAreRefused) {
    const auto withClass = [](std::uint16_t schema, std::uint16_t length, std::string_view name) {
        return read(TemplateBytes().start(1).u16(0xFFFF).u16(schema).u16(length).plain(name).body(u"A"));
    };
    const std::string schema = kzdxDescribe(KzDxArchiveError::unknownSchema);
    const std::string name = kzdxDescribe(KzDxArchiveError::unknownClass);
    EXPECT_EQ(withClass(1, 14, "CEattBlockInfo"), "1: A=1()");
    EXPECT_EQ(withClass(2, 14, "CEattBlockInfo"), schema + " at byte 8");
    EXPECT_EQ(withClass(0, 14, "CEattBlockInfo"), schema + " at byte 8");
    EXPECT_EQ(withClass(1, 14, "CEattBlockinfo"), name + " at byte 10");
    EXPECT_EQ(withClass(1, 13, "CEattBlockInf"), name + " at byte 10");
    EXPECT_EQ(withClass(1, 15, "CEattBlockInfo2"), name + " at byte 10");
    EXPECT_EQ(withClass(1, 64, std::string(64, 'C')), name + " at byte 10");
    EXPECT_EQ(withClass(1, 0xFFFF, ""), name + " at byte 10");
}

TEST(TemplateRead, FirstOfEqualAttributeNamesStays) {
    const std::u16string nul(1, u'\0');
    TemplateBytes all;
    all.start(3).classDefinition().text(u"A").u32(1).u32(6).text(u"x").u32(0).text(u"X").u32(1);
    all.text(u"x").u32(2).text(u"").u32(3).text(nul).u32(4).u8(1).plain("X").u32(5);
    all.u16(0x8001).text(u"B").u32(1).u32(0x80000000);
    all.u16(0x8001).text(u"C").u32(1).u32(2).text(u"y").u32(1).text(u"y").u32(2);
    EXPECT_EQ(read(all), "1: A=1(x=0 X=1 =3 {0}=4) B=1() C=1(y=1)");
}

TEST(TemplateRead, ManyAttributesKeepTheirOrder) {
    constexpr unsigned count = 3000;
    TemplateBytes all;
    std::string expected;
    all.start(1).classDefinition().text(u"A").u32(1).u32(2 * count);
    for (unsigned i = 0; i < 2 * count; ++i) {
        const std::string name = std::to_string((i % count) * 7919 % count);
        all.u8(static_cast<std::uint8_t>(name.size())).plain(name).u32(i);
        if (i < count) expected += (i == 0 ? "" : " ") + name + '=' + std::to_string(i);
    }
    EXPECT_EQ(read(all), "1: A=1(" + expected + ")");
}

} // namespace
