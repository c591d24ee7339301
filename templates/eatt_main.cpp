#include "templates/eatt_main.h"

#include "templates/native_text.h"

#include "core/boundary.h"
#include "templates/archive_writer.h"
#include "templates/block_list.h"

#include <iterator>
#include <utility>

namespace {

// A list can contain a block a million times, so a block that was already processed is marked by its
// counters.
void takeOver(CEattBlockInfo& block) {
    if (block.entryCounter == 1) return;
    block.attributes.removeUnselected();
    block.entryCounter = 1;
    block.secondEntryCounter = 1;
}

bool openFile(KzDxFileSource& source, const std::u16string& path) {
    // A path that ends at an embedded NUL would name another file.
    return !path.empty() && path.find(u'\0') == std::u16string::npos && !source.open(kzdxNativePath(path));
}

} // namespace

int CEattMain::LoadTemplate() noexcept {
    // Throws if memory runs out, or for a path that the system cannot express.
    return kzdxAtBoundary(0, [this] {
        KzDxFileSource source;
        CEattMain read;
        if (!openFile(source, templatePath) || kzdxReadTemplate(source, read)) return 0;
        for (const auto& block : read.blocks) takeOver(*block);
        // The last step that can throw, and then it leaves the list unchanged: so this object changes
        // completely or not at all.
        blocks.insert(blocks.end(), std::make_move_iterator(read.blocks.begin()),
                      std::make_move_iterator(read.blocks.end()));
        headerValue = read.headerValue;
        return 1;
    });
}

bool CEattMain::load(KzDxArchiveReader& reader) {
    return reader.number(headerValue);
}

void CEattMain::store(KzDxArchiveWriter& writer) const {
    writer.number(headerValue);
}

KzDxArchiveFailure kzdxReadTemplate(KzDxByteSource& source, CEattMain& result) noexcept {
    KzDxArchiveReader reader(source);
    const bool isThrough = kzdxAtBoundary(false, [&] {
        CEattMain read;
        if (read.load(reader) && kzdxLoadBlockList(reader, read.blocks)) {
            result.headerValue = read.headerValue;
            result.blocks.swap(read.blocks);
        }
        return true;
    });
    if (!isThrough) reader.refuse(KzDxArchiveError::outOfMemory, reader.offset());
    return reader.failure();
}

void kzdxWriteTemplate(const CEattMain& eattMain, KzDxArchiveWriter& writer) {
    eattMain.store(writer);
    kzdxStoreBlockList(writer, eattMain.blocks);
}
