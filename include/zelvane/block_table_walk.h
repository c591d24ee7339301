#pragma once

/// @file
/// Iteration over the block table.

#include "host/block_table.h"
#include "zelvane/opened.h"

#include <memory>

namespace Zelvane {

/// Calls `visit(id)` for the id of each record of a drawing's block table, in table order, with the table
/// open for read; stops if a visit returns false. The id is null if the host fails to return it. Returns
/// false, without a visit, if the table cannot be read.
template <class Visit>
bool forEachRecordId(const KzDbDatabase& drawing, Visit visit) {
    const Opened<KzDbBlockTable> table(drawing.blockTableId());
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

} // namespace Zelvane
