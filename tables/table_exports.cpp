#include "frame/application.h"
#include "frame/block_table_walk.h"
#include "frame/boundary.h"
#include "host/documents.h"
#include "zelvane/zelvane.h"

namespace {

/// The name of a record that belongs to a table object: anonymous, with "T" as its second character.
bool isTableBlock(const KzDbBlockTableRecord& record) {
    if (record.isDependent() || !record.isAnonymous()) return false;
    const char16_t* name = nullptr;
    if (record.getName(name) != Orvo::ok || name == nullptr) return false;
    return name[0] != u'\0' && name[1] == u'T';
}

/// Appends the ids of a document's table block records. False when its drawing is out of reach.
bool appendTableBlocks(KzApDocument* document, KzDbObjectIdArray& ids) {
    const KzDxDocument* const documentRecord = kzdxRecordOf(document);
    const KzDbDatabase* const drawing = documentRecord == nullptr ? nullptr : documentRecord->database();
    if (drawing == nullptr) return false;
    kzdxForEachRecordId(*drawing, [&ids](KzDbObjectId id) {
        const KzDxOpened<KzDbBlockTableRecord> block(id);
        if (block && isTableBlock(*block.get())) ids.append(id);
        return true;
    });
    return true;
}

/// Appends the ids of the live references of one record; nothing when the host does not tell them.
void appendReferences(KzDbObjectId id, KzDbObjectIdArray& ids) {
    const KzDxOpened<KzDbBlockTableRecord> record(id);
    KzDbObjectIdArray references;
    if (record && record->getBlockReferenceIds(references, true, true) == Orvo::ok) ids.append(references);
}

} // namespace

ZELVANE_EXPORT std::int32_t kzdxGetBlockRecordIdsOfKzDbTables(KzApDocument* document,
                                                              KzDbObjectIdArray* ids) noexcept {
    if (ids == nullptr) return 0;
    return kzdxAtBoundary(std::int32_t{0}, [&] { return appendTableBlocks(document, *ids) ? 1 : 0; });
}

ZELVANE_EXPORT std::int32_t kzdxGetKzDbTableIds(KzApDocument* document, KzDbObjectIdArray* ids) noexcept {
    if (ids == nullptr) return 0;
    return kzdxAtBoundary(std::int32_t{0}, [&] {
        KzDbObjectIdArray blocks;
        if (!appendTableBlocks(document, blocks)) return 0;
        for (const KzDbObjectId block : blocks) appendReferences(block, *ids);
        return 1;
    });
}
