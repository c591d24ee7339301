#pragma once

#include "templates/archive_writer.h"
#include "templates/eatt_main.h"

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Template files by hand, field by field: what they say does not come from the writer that is under test.
struct TemplateBytes {
    std::vector<std::byte> bytes;

    TemplateBytes& number(std::unsigned_integral auto value) {
        for (std::size_t i = 0; i < sizeof value; ++i)
            bytes.push_back(static_cast<std::byte>(std::uint64_t{value} >> (8 * i)));
        return *this;
    }
    TemplateBytes& u8(std::uint8_t value) { return number(value); }
    TemplateBytes& u16(std::uint16_t value) { return number(value); }
    TemplateBytes& u32(std::uint32_t value) { return number(value); }
    TemplateBytes& u64(std::uint64_t value) { return number(value); }
    TemplateBytes& plain(std::string_view text) {
        for (const char c : text) u8(static_cast<std::uint8_t>(c));
        return *this;
    }
    TemplateBytes& units(std::u16string_view text) {
        for (const char16_t unit : text) u16(unit);
        return *this;
    }
    /// A short string.
    TemplateBytes& text(std::u16string_view text) {
        return u8(0xFF).u16(0xFFFE).u8(static_cast<std::uint8_t>(text.size())).units(text);
    }
    /// The header value 1 and the number of elements.
    TemplateBytes& start(std::uint16_t count) { return u32(1).u16(count); }
    TemplateBytes& classDefinition() { return u16(0xFFFF).u16(1).u16(14).plain("CEattBlockInfo"); }
    /// A body with the flag 1 and no attributes.
    TemplateBytes& body(std::u16string_view name) { return text(name).u32(1).u32(0); }
};

/// DOOR, selected, with NOTE (not selected) and TAG (selected); WIN, not selected.
inline TemplateBytes exampleBytes() {
    TemplateBytes all;
    all.start(2).classDefinition().text(u"DOOR").u32(1).u32(2).text(u"NOTE").u32(0).text(u"TAG").u32(1);
    return all.u16(0x8001).text(u"WIN").u32(0).u32(0);
}

/// One of everything: both kinds of string, a null, long tags, a second definition, an object again.
inline TemplateBytes variedBytes() {
    TemplateBytes all;
    all.start(7).classDefinition().text(u"A").u32(1).u32(2).u8(2).plain("ab").u32(0).text(u"c").u32(5);
    all.u16(0).u16(2).u16(0x7FFF).u32(0x80000001).u8(1).plain("B").u32(0).u32(1).text(u"x").u32(1);
    all.classDefinition().body(u"C").u16(0x7FFF).u32(5);
    return all.u16(0x8004).u8(0xFF).u16(0xFFFE).u8(0xFF).u16(1).units(u"D").u32(0).u32(0xFFFFFFFF);
}

/// Numbers in longer forms than needed: the lengths of five names, the count and a tag.
inline TemplateBytes longestBytes() {
    TemplateBytes all;
    all.u32(~0U).u16(0xFFFF).u32(~0U).u64(5).classDefinition();
    all.u8(0xFF).u16(0xFFFE).u8(0xFF).u16(0xFFFF).u32(~0U).u64(1).units(u"A").u32(1).u32(0);
    all.u16(0x7FFF).u32(0x80000001).u8(0xFF).u16(0xFFFF).u32(~0U).u64(1).plain("B").u32(1).u32(0);
    all.u16(0x8001).u8(0xFF).u16(0xFFFE).u8(0xFF).u16(0xFFFF).u32(1).units(u"C").u32(1).u32(0);
    all.u16(0x8001).u8(0xFF).u16(0xFFFF).u32(1).plain("D").u32(1).u32(0);
    return all.u16(0x8001).u8(0xFF).u16(1).plain("E").u32(1).u32(0);
}

inline std::vector<std::byte> written(const CEattMain& eattMain) {
    KzDxArchiveWriter writer;
    kzdxWriteTemplate(eattMain, writer);
    return {writer.written().begin(), writer.written().end()};
}

inline std::string shown(std::u16string_view name) {
    std::string result;
    for (const char16_t unit : name) {
        result += unit > 0x20 && unit < 0x7F ? std::string(1, static_cast<char>(unit))
                                             : '{' + std::to_string(unit) + '}';
    }
    return result;
}

enum class AttributeOrder { ofTheTable, ofTheNames };

/// A template in one line: `1: DOOR=1(NOTE=0 TAG=1) WIN=0()`; an object again: `^` and its first position.
inline std::string shown(const CEattMain& eattMain, AttributeOrder order = AttributeOrder::ofTheTable) {
    std::string result = std::to_string(eattMain.headerValue) + ':';
    const auto& blocks = eattMain.blocks;
    for (auto at = blocks.begin(); at != blocks.end(); ++at) {
        const auto first = std::find(blocks.begin(), at, *at);
        if (first != at) {
            result += " ^" + std::to_string(first - blocks.begin());
            continue;
        }
        const KzDxAttributeTable& table = (*at)->attributes;
        std::vector<std::string> attributes;
        for (std::size_t i = 0; i < table.size(); ++i)
            attributes.push_back(shown(table.name(i)) + '=' + std::to_string(table.entry(i).flag));
        if (order == AttributeOrder::ofTheNames) std::ranges::sort(attributes);
        result += ' ' + shown((*at)->blockName) + '=' + std::to_string((*at)->blockFlag) + '(';
        for (const std::string& attribute : attributes)
            result += (&attribute == attributes.data() ? "" : " ") + attribute;
        result += ')';
    }
    return result;
}

/// What reading gives: the template, or `what is wrong at byte N`, after a look whether anything was touched.
inline std::string read(KzDxByteSource& source) {
    CEattMain eattMain;
    eattMain.headerValue = -7;
    const auto failure = kzdxReadTemplate(source, eattMain);
    if (!failure) return shown(eattMain);
    if (shown(eattMain) != "-7:") return "half a result: " + shown(eattMain);
    return std::string(kzdxDescribe(failure.error)) + " at byte " + std::to_string(failure.offset);
}

inline std::string read(std::span<const std::byte> bytes) {
    KzDxMemorySource source(bytes);
    return read(source);
}

inline std::string read(const TemplateBytes& all) {
    return read(all.bytes);
}
