#pragma once

#include "core/opened.h"
#include "host/block_table.h"

#include <memory>

/// Calls `visit(id)` for the id of each record of a drawing's block table, in table order, with the table
/// open for read; ends when a visit returns false. The id is null when the host does not tell it. Whether the
/// table could be walked; one that cannot is walked as if it were empty.
template <class Visit>
bool kzdxForEachRecordId(const KzDbDatabase& database, Visit visit) {
    const KzDxOpened<KzDbBlockTable> table(database.blockTableId());
    if (!table) return false;
    KzDbBlockTableIterator* made = nullptr;
    if (table->newIterator(made, true, true) != Orvo::ok || made == nullptr) return false;
    const std::unique_ptr<KzDbBlockTableIterator> records(made);
    for (records->start(true, true); !records->done(); records->step(true, true)) {
        KzDbObjectId id;
        if (records->getRecordId(id) != Orvo::ok) id = KzDbObjectId();
        if (!visit(id)) break;
    }
    return true;
}
