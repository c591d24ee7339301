#include "blocks/foreign_drawings.h"

#include "blocks/block_graph.h"
#include "host/block_table.h"
#include "host/symbol_utilities.h"
#include "zelvane/opened.h"

#include <algorithm>
#include <cassert>
#include <map>

namespace {

/// The first record that represents each attached drawing.
std::map<const KzDbDatabase*, KzDbObjectId> firstRecords(std::span<const KzDbObjectId> attachingRecords) {
    std::map<const KzDbDatabase*, KzDbObjectId> first;
    for (const KzDbObjectId id : attachingRecords) {
        const Zelvane::Opened<KzDbBlockTableRecord> record(id);
        if (record && record->isFromExternalReference()) first.try_emplace(record->xrefDatabase(false), id);
    }
    return first;
}

KzDbObjectId modelSpaceOf(const KzDbDatabase* drawing) {
    return KzDbSymbolUtilities::servicesPtr106()->modelSpaceRecordId(drawing);
}

} // namespace

bool KzDxForeignDrawings::refresh(std::span<const KzDbObjectId> attachingRecords) {
    std::map<const KzDbDatabase*, KzDbObjectId> attached = firstRecords(attachingRecords);
    std::vector<Drawing> now;
    for (const Drawing& each : drawings_) {
        const KzDbDatabase* const drawing = each.anyRecord.database();
        if (drawing == nullptr) continue; // no longer in memory
        now.push_back({.anyRecord = each.anyRecord,
                       .drawing = drawing,
                       .modelSpace = modelSpaceOf(drawing),
                       .representedBy = attached[drawing]}); // null if there is none
    }
    const bool isSame = now == drawings_;
    drawings_ = std::move(now);
    return isSame;
}

KzDbObjectId KzDxForeignDrawings::containerOf(KzDbObjectId owner) {
    const KzDbDatabase* const drawing = owner.database();
    assert(drawing != nullptr && drawing != graph_.database());
    auto at = std::ranges::find(drawings_, drawing, &Drawing::drawing);
    if (at == drawings_.end()) {
        drawings_.push_back({.anyRecord = owner,
                             .drawing = drawing,
                             .modelSpace = modelSpaceOf(drawing),
                             .representedBy = graph_.xrefBlockOf(owner)});
        at = drawings_.end() - 1;
    }
    return owner == at->modelSpace ? at->representedBy : owner;
}
