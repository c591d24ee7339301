#include "templates/eatt_main.h"

#include "templates/archive_writer.h"
#include "templates/block_list.h"

#include <exception>
#include <filesystem>
#include <iterator>
#include <utility>

namespace {

// A list may hold a block a million times, so one that was taken over is told by its counters.
void takeOver(CEattBlockInfo& block) {
    if (block.entryCounter == 1) return;
    block.attributes.removeUnselected();
    block.entryCounter = 1;
    block.secondEntryCounter = 1;
}

bool openFile(KzDxFileSource& source, const std::u16string& path) {
    // A path that ends early at a NUL would name another file.
    return !path.empty() && path.find(u'\0') == std::u16string::npos &&
           !source.open(std::filesystem::path(path));
}

} // namespace

int CEattMain::LoadTemplate() noexcept try {
    KzDxFileSource source;
    CEattMain read;
    if (!openFile(source, templatePath) || readTemplate(source, read)) return 0;

    for (const auto& block : read.blocks) takeOver(*block);
    if (blocks.empty()) {
        blocks.swap(read.blocks);
    } else {
        blocks.insert(blocks.end(), std::make_move_iterator(read.blocks.begin()),
                      std::make_move_iterator(read.blocks.end()));
    }
    headerValue = read.headerValue;
    return 1;
} catch (const std::exception&) { // no memory, or a path that the system cannot express
    return 0;
}

bool CEattMain::load(KzDxArchiveReader& reader) {
    return reader.number(headerValue);
}

void CEattMain::store(KzDxArchiveWriter& writer) const {
    writer.number(headerValue);
}

KzDxArchiveFailure readTemplate(KzDxByteSource& source, CEattMain& result) noexcept {
    KzDxArchiveReader reader(source);
    try {
        CEattMain read;
        if (!read.load(reader) || !loadBlockList(reader, read.blocks)) return reader.failure();
        result.headerValue = read.headerValue;
        result.blocks.swap(read.blocks);
        return {};
    } catch (const std::exception&) { // no memory, or a container at its limit
        return {KzDxArchiveError::outOfMemory, reader.offset()};
    }
}

void writeTemplate(const CEattMain& eattMain, KzDxArchiveWriter& writer) {
    eattMain.store(writer);
    storeBlockList(writer, eattMain.blocks);
}
