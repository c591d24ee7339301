// Writes the files that fuzzing starts from into a folder: template_seeds FOLDER.
#include "tests/templates/template_bytes.h"

#include <filesystem>
#include <fstream>
#include <iostream>

namespace {

TemplateBytes longNames() {
    TemplateBytes all;
    all.start(2).classDefinition().u8(0xFF).u16(255).plain(std::string(255, 'n')).u32(1).u32(0);
    const std::u16string name(3000, u'n');
    return all.u16(0x8001).u8(0xFF).u16(0xFFFE).u8(0xFF).u16(3000).units(name).u32(1).u32(0);
}

TemplateBytes equalNames() {
    TemplateBytes all;
    all.start(1).classDefinition().text(u"").u32(~0U).u32(6);
    for (const char16_t* name : {u"b", u"B", u"a", u"a", u"\u00E9", u"\U0001F6AA"}) all.text(name).u32(2);
    return all;
}

bool write(const std::filesystem::path& path, const TemplateBytes& all) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(all.bytes.data()),
              static_cast<std::streamsize>(all.bytes.size()));
    return static_cast<bool>(out.flush());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: template_seeds FOLDER\n";
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    const bool isDone =
        write(folder / "example", exampleBytes()) && write(folder / "varied", variedBytes()) &&
        write(folder / "longest", longestBytes()) && write(folder / "long_names", longNames()) &&
        write(folder / "equal_names", equalNames()) && write(folder / "empty", TemplateBytes().start(0));
    return isDone ? 0 : 1;
}
