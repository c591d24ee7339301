// Guards the writing of template files: the bytes, the order of names, and that they read as written.
#include "templates/archive_reader.h"
#include "templates/eatt_util.h"
#include "tests/templates/template_properties.h"

#include <gmock/gmock.h>

#include <clocale>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Random = std::mt19937;

std::shared_ptr<CEattBlockInfo> block(std::u16string name, std::int32_t flag = 1) {
    auto result = std::make_shared<CEattBlockInfo>();
    result->blockName = std::move(name);
    result->blockFlag = flag;
    return result;
}

std::u16string randomName(Random& random) {
    static constexpr char16_t units[] = {u'a', u'A', u'b', u'B', u'\0', 0xE9, 0xC9, 0xD83D, 0xDE00, u'_'};
    std::u16string name;
    for (auto size = random() % 4; size > 0; --size) name += units[random() % std::size(units)];
    return name;
}

CEattMain randomTemplate(unsigned seed) {
    Random random(seed);
    CEattMain result;
    result.headerValue = static_cast<std::int32_t>(random());
    for (auto count = random() % 8; count > 0; --count) {
        if (!result.blocks.empty() && random() % 4 == 0) {
            result.blocks.push_back(result.blocks[random() % result.blocks.size()]);
            continue;
        }
        result.blocks.push_back(block(randomName(random), static_cast<std::int32_t>(random())));
        KzDxAttributeTable& attributes = result.blocks.back()->attributes;
        for (auto i = random() % 12; i > 0; --i) {
            attributes.append(randomName(random), static_cast<std::int32_t>(random() % 3));
        }
        attributes.removeRepeated();
    }
    return result;
}

// The sort as it is laid down, step by step.
std::vector<std::u16string> sortedStepByStep(std::vector<std::u16string> names) {
    for (auto gap = names.size() / 2; gap >= 1; gap /= 2) {
        for (auto i = gap; i < names.size(); ++i) {
            for (auto upper = i; upper >= gap; upper -= gap) {
                if (CEattUtil::collateNoCase(names[upper], names[upper - gap]) < 0)
                    std::swap(names[upper], names[upper - gap]);
            }
        }
    }
    return names;
}

TEST(TemplateWrite, ExampleByteForByte) {
    CEattMain eattMain;
    eattMain.blocks = {block(u"DOOR"), block(u"WIN", 0)};
    eattMain.blocks[0]->attributes.append(u"TAG", 1);
    eattMain.blocks[0]->attributes.append(u"NOTE", 0);
    EXPECT_EQ(written(eattMain), exampleBytes().bytes);
    EXPECT_EQ(written(CEattMain()), TemplateBytes().start(0).bytes);
}

TEST(TemplateWrite, NullsAndRepeatedObjectsAreTags) {
    CEattMain eattMain;
    eattMain.blocks = {nullptr, block(u"A"), nullptr};
    eattMain.blocks.push_back(eattMain.blocks[1]);
    EXPECT_EQ(written(eattMain),
              TemplateBytes().start(4).u16(0).classDefinition().body(u"A").u16(0).u16(2).bytes);
}

TEST(TemplateWrite, LengthsTakeTheShortestForm) {
    const auto start = [](std::size_t size) {
        KzDxArchiveWriter writer;
        writer.string(std::u16string(size, u'n'));
        const auto prefix = writer.written().first(writer.written().size() - 2 * size);
        return std::vector(prefix.begin(), prefix.end());
    };
    const auto wide = TemplateBytes().u8(0xFF).u16(0xFFFE);
    EXPECT_EQ(start(0), TemplateBytes(wide).u8(0).bytes);
    EXPECT_EQ(start(0xFE), TemplateBytes(wide).u8(0xFE).bytes);
    EXPECT_EQ(start(0xFF), TemplateBytes(wide).u8(0xFF).u16(0xFF).bytes);
    EXPECT_EQ(start(0xFFFD), TemplateBytes(wide).u8(0xFF).u16(0xFFFD).bytes);
    EXPECT_EQ(start(0xFFFE), TemplateBytes(wide).u8(0xFF).u16(0xFFFF).u32(0xFFFE).bytes);
    EXPECT_EQ(start(0x10000), TemplateBytes(wide).u8(0xFF).u16(0xFFFF).u32(0x10000).bytes);
    for (const std::uint64_t count : {0xFFFFFFFFULL, 0x123456789AULL}) {
        KzDxArchiveWriter writer;
        writer.count(count);
        const auto written = writer.written();
        EXPECT_EQ(std::vector(written.begin(), written.end()),
                  TemplateBytes().u16(0xFFFF).u32(0xFFFFFFFF).u64(count).bytes);
    }
}

// Object indices from 7FFF on need the long tag, and more than FFFE elements the long count.
TEST(TemplateWrite, LargeTemplateTakesLongTags) {
    CEattMain eattMain;
    for (unsigned i = 0; i < 0xFFFF - 3; ++i) eattMain.blocks.push_back(block(i % 2 == 0 ? u"E" : u"O"));
    for (const unsigned index : {0x7FFEU, 0x7FFFU, 0xFFFDU})
        eattMain.blocks.push_back(eattMain.blocks[index - 2]);
    const auto bytes = written(eattMain);

    TemplateBytes tail;
    tail.u16(0x7FFE).u16(0x7FFF).u32(0x7FFF).u16(0x7FFF).u32(0xFFFD);
    EXPECT_EQ(std::vector(bytes.end() - 14, bytes.end()), tail.bytes);
    EXPECT_EQ(std::vector(bytes.begin(), bytes.begin() + 10),
              TemplateBytes().u32(1).u16(0xFFFF).u32(0xFFFF).bytes);

    KzDxMemorySource source(bytes);
    CEattMain again;
    ASSERT_FALSE(kzdxReadTemplate(source, again));
    EXPECT_EQ(again.blocks.size(), 0xFFFFU);
    EXPECT_EQ(again.blocks[0xFFFF - 2], again.blocks[0x7FFF - 2]);
    EXPECT_EQ(written(again), bytes);
}

TEST(TemplateWrite, RandomTemplatesReadAsWritten) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        const auto original = randomTemplate(seed);
        const auto bytes = written(original);
        KzDxMemorySource source(bytes);
        CEattMain again;
        ASSERT_FALSE(kzdxReadTemplate(source, again)) << seed;
        ASSERT_EQ(shown(again, AttributeOrder::ofTheNames), shown(original, AttributeOrder::ofTheNames))
            << seed;
        ASSERT_EQ(violatedProperty(bytes), "") << seed;
    }
}

TEST(NameOrder, EqualsTheSortStepByStep) {
    for (unsigned seed = 0; seed < 1000; ++seed) {
        Random random(seed);
        std::vector<std::u16string> names(random() % 24);
        for (auto& name : names) name = randomName(random);
        auto sorted = names;
        EXPECT_EQ(CEattUtil::sortNames(sorted), 1);
        ASSERT_EQ(sorted, sortedStepByStep(names)) << seed;
    }
}

TEST(NameOrder, FoldsCaseAndComparesBeyondNuls) {
    const auto order = [](std::u16string_view a, std::u16string_view b) {
        return CEattUtil::collateNoCase(a, b);
    };
    using namespace std::string_view_literals;
    EXPECT_EQ(order(u"Door", u"dOOR"), 0);
    EXPECT_LT(order(u"DOOR", u"door2"), 0);
    EXPECT_LT(order(u"_", u"Z"), 0);
    EXPECT_LT(order(u"a\0b"sv, u"A\0C"sv), 0);
    EXPECT_LT(order(u"a"sv, u"a\0"sv), 0);
    EXPECT_LT(order(u"a\0\0b"sv, u"a\0\0c"sv), 0);
    EXPECT_LT(order(u"a\0z"sv, u"ab"sv), 0);
    if (sizeof(wchar_t) == 2) GTEST_SKIP() << "Windows has no such locale";
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    EXPECT_EQ(order(u"\u00C9", u"\u00E9"), 0);
    EXPECT_EQ(order(u"\U00010400", u"\U00010428"), 0); // a letter beyond 16 bits
    std::setlocale(LC_ALL, "C");
}

} // namespace
