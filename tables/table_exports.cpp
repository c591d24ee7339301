// The table queries. They read the block table directly: no block graph is built for them.

#include "core/boundary.h"
#include "frame/application.h"
#include "host/documents.h"
#include "zelvane/block_table_walk.h"
#include "zelvane/zelvane.h"

#include <optional>

namespace {

/// Whether a record belongs to a table object: it is anonymous, and its name has "T" as second character.
bool isTableBlock(const KzDbBlockTableRecord& record) {
    if (record.isDependent() || !record.isAnonymous()) return false;
    const char16_t* name = nullptr;
    if (record.getName(name) != Orvo::ok || name == nullptr) return false;
    return name[0] != u'\0' && name[1] == u'T';
}

/// The ids of a document's table block records; no value if its drawing is not accessible.
std::optional<KzDbObjectIdArray> tableBlocks(KzApDocument* document) {
    const KzDxDocument* const documentRecord = kzdxDocDataOf(document);
    const KzDbDatabase* const drawing = documentRecord == nullptr ? nullptr : documentRecord->database();
    if (drawing == nullptr) return std::nullopt;
    KzDbObjectIdArray ids;
    Zelvane::forEachRecordId(*drawing, [&ids](KzDbObjectId id) {
        const Zelvane::Opened<KzDbBlockTableRecord> block(id);
        if (block && isTableBlock(*block)) ids.append(id);
        return true;
    });
    return ids;
}

/// Appends the ids of the live references of one record; appends none if the host does not return them.
void appendReferences(KzDbObjectId id, KzDbObjectIdArray& ids) {
    const Zelvane::Opened<KzDbBlockTableRecord> record(id);
    KzDbObjectIdArray references;
    if (record && record->getBlockReferenceIds(references, true, true) == Orvo::ok) ids.append(references);
}

/// The ids of the tables: the references of these records, grouped by record; no value as above.
std::optional<KzDbObjectIdArray> tables(KzApDocument* document) {
    const std::optional<KzDbObjectIdArray> blocks = tableBlocks(document);
    if (!blocks.has_value()) return std::nullopt;
    KzDbObjectIdArray ids;
    for (const KzDbObjectId block : *blocks) appendReferences(block, ids);
    return ids;
}

/// Appends what `find` returns for the document; if memory runs out, appends nothing.
template <class Find>
std::int32_t append(Find find, KzApDocument* document, KzDbObjectIdArray* ids) noexcept {
    if (ids == nullptr) return 0;
    return kzdxAtBoundary(std::int32_t{0}, [&] {
        const std::optional<KzDbObjectIdArray> found = find(document);
        if (!found.has_value()) return 0;
        ids->append(*found);
        return 1;
    });
}

} // namespace

ZELVANE_EXPORT std::int32_t kzdxGetBlockRecordIdsOfKzDbTables(KzApDocument* document,
                                                              KzDbObjectIdArray* ids) noexcept {
    return append(tableBlocks, document, ids);
}

ZELVANE_EXPORT std::int32_t kzdxGetKzDbTableIds(KzApDocument* document, KzDbObjectIdArray* ids) noexcept {
    return append(tables, document, ids);
}
