#include "blocks/foreign_drawings.h"

#include "blocks/block_graph.h"
#include "host/block_table.h"
#include "host/symbol_utilities.h"
#include "zelvane/opened.h"

#include <algorithm>
#include <cassert>

namespace {

struct Attachment {
    const KzDbDatabase* drawing;
    KzDbObjectId record;
};

std::vector<Attachment> attachmentsOf(std::span<const KzDbObjectId> records) {
    std::vector<Attachment> found;
    for (const KzDbObjectId id : records) {
        const Zelvane::Opened<KzDbBlockTableRecord> record(id);
        if (!record || !record->isFromExternalReference()) continue;
        found.push_back({record->xrefDatabase(false), id});
    }
    return found;
}

KzDbObjectId modelSpaceOf(const KzDbDatabase* drawing) {
    return KzDbSymbolUtilities::servicesPtr106()->modelSpaceRecordId(drawing);
}

} // namespace

bool KzDxForeignDrawings::refresh(std::span<const KzDbObjectId> attachingRecords) {
    const std::vector<Attachment> attachments = attachmentsOf(attachingRecords);
    std::vector<Drawing> now;
    for (const Drawing& each : drawings_) {
        const KzDbDatabase* const drawing = each.anyRecord.database();
        if (drawing == nullptr) continue; // no longer in memory
        const auto first = std::ranges::find(attachments, drawing, &Attachment::drawing);
        now.push_back({.anyRecord = each.anyRecord,
                       .drawing = drawing,
                       .modelSpace = modelSpaceOf(drawing),
                       .representedBy = first == attachments.end() ? KzDbObjectId() : first->record});
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
