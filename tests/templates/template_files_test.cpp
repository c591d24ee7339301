// Guards what a caller gets from a file: the two lists of the export, LoadTemplate, and files that cannot be
// read.
#include "templates/selected_names.h"
#include "tests/templates/template_bytes.h"

#include <zelvane/zelvane.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::u16string>;

class TemplateFiles : public testing::Test {
protected:
    TemplateFiles()
        : folder_(fs::temp_directory_path() /
                  ("template_files_test." + std::to_string(std::random_device{}()))) {
        fs::create_directory(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::u16string path(const char16_t* name) const { return (folder_ / name).u16string(); }

    std::u16string file(std::span<const std::byte> bytes, const char16_t* name = u"file.tpl") const {
        std::ofstream out(folder_ / name, std::ios::binary);
        out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return path(name);
    }

    // Both lists hold something before.
    void readNames(const std::u16string& path) {
        blocks = {u"before"};
        attributes = {u"before"};
        kzdxReadLegacyBlkTemplate(path, blocks, attributes);
    }

    Names blocks;
    Names attributes;

private:
    fs::path folder_;
};

TEST_F(TemplateFiles, NamesComeOnceInFileOrder) {
    TemplateBytes all;
    all.start(6).classDefinition().text(u"W").u32(1).u32(3).text(u"z").u32(1).text(u"no").u32(0);
    all.text(u"a").u32(~0U);
    all.u16(0x8001).text(u"off").u32(0).u32(2).text(u"hidden").u32(1).text(u"b").u32(1);
    all.u16(0x8001).text(u"W").u32(1).u32(3).text(u"Z").u32(1).text(u"a").u32(1).text(u"b").u32(1);
    all.u16(0x8001).text(u"").u32(7).u32(0).u16(2).u16(0x8001).text(u"w").u32(1).u32(0);
    readNames(file(all.bytes));
    EXPECT_THAT(blocks, ElementsAre(u"W", u"", u"w"));
    EXPECT_THAT(attributes, ElementsAre(u"z", u"a", u"Z", u"b"));
}

TEST_F(TemplateFiles, OneListWithThePath) {
    TemplateBytes all;
    all.start(3).classDefinition().text(u"A").u32(1).u32(2).text(u"x").u32(1).text(u"A").u32(1);
    all.u16(0x8001).body(u"x").u16(0x8001).body(u"B");
    Names both = {file(all.bytes)};
    kzdxReadLegacyBlkTemplate(both[0], both, both);
    EXPECT_THAT(both, ElementsAre(u"A", u"x", u"B"));
}

TEST_F(TemplateFiles, PathMayBeAnyUnicode) {
    readNames(file(exampleBytes().bytes, u"T\u00FCr \u9580 \U0001F6AA.tpl"));
    EXPECT_THAT(blocks, ElementsAre(u"DOOR"));
    EXPECT_THAT(attributes, ElementsAre(u"TAG"));
}

TEST_F(TemplateFiles, UnreadableFileEmptiesBothLists) {
    const auto good = file(exampleBytes().bytes);
    const auto example = exampleBytes().bytes;
    const auto cut = file(std::span(example).first(95), u"cut.tpl");
    const std::u16string loneSurrogate(1, char16_t{0xD800});
    for (const auto& bad :
         {std::u16string(), cut, path(u"missing"), path(u""), good + u"/x", good + std::u16string(1, u'\0'),
          loneSurrogate, std::u16string(u"/dev/zero"),
          std::u16string(u"/proc/self/mem")}) { // the last is a regular file whose reading fails
        readNames(bad);
        EXPECT_THAT(blocks, IsEmpty());
        EXPECT_THAT(attributes, IsEmpty());
    }
}

// Its size is asked for once, when it is opened.
TEST_F(TemplateFiles, FileShrinksOrGrowsWhileRead) {
    const auto long8 = TemplateBytes().start(1).classDefinition().u8(0xFF);
    const auto shrinking = TemplateBytes(long8).u16(8000).plain(std::string(8000, 'n')).u32(1).u32(0).bytes;
    const auto name = fs::path(file(shrinking));
    KzDxFileSource shrunk;
    ASSERT_FALSE(shrunk.open(name));
    fs::resize_file(name, 6000);
    EXPECT_EQ(read(shrunk), std::string(kzdxDescribe(KzDxArchiveError::endsEarly)) + " at byte 6000");

    const auto growing = TemplateBytes(long8).u16(0xFFFF).u32(~0U).u64(std::uint64_t{1} << 60U).bytes;
    file(std::span(growing).first(10));
    KzDxFileSource grown;
    ASSERT_FALSE(grown.open(name));
    file(growing);
    EXPECT_EQ(read(grown), std::string(kzdxDescribe(KzDxArchiveError::stringTooLong)) + " at byte 26");
}

TEST_F(TemplateFiles, LoadAppendsSelectedBlocks) {
    CEattMain eattMain;
    auto bytes = variedBytes().bytes;
    bytes[0] = std::byte{7};
    eattMain.templatePath = file(bytes);
    ASSERT_EQ(eattMain.LoadTemplate(), 1);
    EXPECT_EQ(shown(eattMain), "7: A=1(c=5) ^0 B=0(x=1) C=1() ^3 D=0()");
    for (const auto& block : eattMain.blocks) EXPECT_EQ(block->entryCounter + block->secondEntryCounter, 2);

    // A failure, early or late, leaves everything as it was: the header value of the file is another one.
    TemplateBytes broken;
    broken.u32(9).u16(2).classDefinition().body(u"Z");
    for (const auto& bad : {path(u"missing"), file(broken.bytes, u"broken.tpl")}) {
        eattMain.templatePath = bad;
        EXPECT_EQ(eattMain.LoadTemplate(), 0);
        EXPECT_EQ(shown(eattMain), "7: A=1(c=5) ^0 B=0(x=1) C=1() ^3 D=0()");
    }

    TemplateBytes further;
    further.u32(8).u16(1).classDefinition().body(u"E");
    eattMain.templatePath = file(further.bytes);
    EXPECT_EQ(eattMain.LoadTemplate(), 1);
    EXPECT_THAT(shown(eattMain),
                testing::AllOf(testing::StartsWith("8: A=1(c=5) ^0 B=0(x=1) C=1() ^3 D=0() E="),
                               testing::Not(testing::HasSubstr("^4"))))
        << "the blocks of another file come behind";
}

} // namespace
