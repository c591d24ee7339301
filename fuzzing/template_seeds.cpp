// Writes the files that fuzzing starts from into a folder: template_seeds FOLDER.
#include "templates/archive_format.h"
#include "templates/archive_writer.h"
#include "templates/eatt_main.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace {

std::shared_ptr<CEattBlockInfo> block(std::u16string name, std::int32_t flag) {
    auto result = std::make_shared<CEattBlockInfo>();
    result->blockName = std::move(name);
    result->blockFlag = flag;
    return result;
}

CEattMain example() {
    CEattMain result;
    result.blocks = {block(u"DOOR", 1), block(u"WIN", 0)};
    result.blocks[0]->attributes.append(u"NOTE", 0);
    result.blocks[0]->attributes.append(u"TAG", 1);
    return result;
}

CEattMain repeatsAndNulls() {
    CEattMain result = example();
    result.blocks.push_back(nullptr);
    result.blocks.push_back(result.blocks[0]);
    result.blocks.push_back(block(u"", -1));
    for (const char16_t* name : {u"b", u"B", u"a", u"A", u"\u00E9", u"\U0001F6AA"})
        result.blocks.back()->attributes.append(name, 2);
    return result;
}

CEattMain longNames() {
    CEattMain result;
    for (const unsigned size : {254U, 255U, 3000U})
        result.blocks.push_back(block(std::u16string(size, u'n'), 1));
    return result;
}

// What this writer never writes: single bytes, a long tag, a second class definition, lengths longer than
// needed.
void otherForms(KzDxArchiveWriter& to) {
    using namespace KzDxArchive;
    const auto shortString = [&to](std::string_view text) {
        to.number(static_cast<std::uint8_t>(text.size()));
        to.bytes(text);
    };
    const auto definition = [&to] {
        to.number(newClassTag);
        to.number(blockClassSchema);
        to.number(static_cast<std::uint16_t>(blockClassName.size()));
        to.bytes(blockClassName);
    };
    to.number(1);
    to.number(escape16);
    to.number(std::uint32_t{3});
    definition();
    shortString("caf\xE9\x80");
    to.number(1);
    to.number(2);
    for (const char* name : {"same", "same"}) {
        shortString(name);
        to.number(1);
    }
    to.number(longTag);
    to.number(longClassTag + 1);
    to.number(escape8);
    to.number(escape16);
    to.number(std::uint32_t{1});
    to.bytes("x");
    to.number(0);
    to.number(-1);
    definition();
    shortString("");
    to.number(0);
    to.number(0);
}

bool write(const std::filesystem::path& path, const KzDxArchiveWriter& writer) {
    std::ofstream out(path, std::ios::binary);
    const auto bytes = writer.written();
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out.flush());
}

bool write(const std::filesystem::path& path, const CEattMain& eattMain) {
    KzDxArchiveWriter writer;
    kzdxWriteTemplate(eattMain, writer);
    return write(path, writer);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: template_seeds FOLDER\n";
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    KzDxArchiveWriter others;
    otherForms(others);
    const bool isDone = write(folder / "example", example()) && write(folder / "empty", CEattMain()) &&
                        write(folder / "repeats", repeatsAndNulls()) &&
                        write(folder / "long_names", longNames()) && write(folder / "other_forms", others);
    return isDone ? 0 : 1;
}
