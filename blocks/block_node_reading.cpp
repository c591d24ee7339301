#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/reference_reader.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

using Placement = KzDxReferenceReader::Placement;

std::vector<KzDbObjectId> placedReferences(const KzDxReferenceReader& reader) {
    std::vector<KzDbObjectId> references;
    references.reserve(reader.placements().size());
    for (const Placement& placement : reader.placements()) references.push_back(placement.reference);
    return references;
}

/// The ids of `left` that are not in `right`; both ascending.
std::vector<KzDbObjectId> difference(const std::vector<KzDbObjectId>& left,
                                     const std::vector<KzDbObjectId>& right) {
    std::vector<KzDbObjectId> only;
    std::ranges::set_difference(left, right, std::back_inserter(only));
    return only;
}

/// Sorts the placements by container. Each array is made once, at its final length.
KzDxContainers sortedByContainer(const KzDxReferenceReader& reader) {
    std::vector<KzDxContainers::Entry> entries(reader.containers().size());
    std::vector<std::size_t> lengths(entries.size());
    for (const Placement& placement : reader.placements()) ++lengths[placement.container];
    for (std::size_t at = 0; at < entries.size(); ++at) {
        entries[at].container = reader.containers()[at];
        entries[at].references.reserve(lengths[at]);
    }
    for (const Placement& placement : reader.placements()) {
        entries[placement.container].references.push_back(placement.reference);
    }
    std::ranges::sort(entries, {}, &KzDxContainers::Entry::container);
    return KzDxContainers(std::move(entries));
}

} // namespace

Orvo::ErrorStatus KzDxBlock::evaluate(KzDbObjectId record) {
    if (owner_ == nullptr) return Orvo::missingCollaborator;
    if (record.isNull()) return Orvo::invalidObjectId;
    listRecord(record);
    return readAgain();
}

Orvo::ErrorStatus KzDxBlock::refresh() {
    return evaluate(id_);
}

bool KzDxBlock::listRecord(KzDbObjectId record) {
    if (record == id_ || furtherRecords_.contains(record)) return false;
    KzDbObjectIdArray records;
    records.append(record);
    appendRecords(records);
    owner_->addBlockAlias(record, this);
    return true;
}

Orvo::ErrorStatus KzDxBlock::readAgain() {
    if (owner_ == nullptr) return Orvo::missingCollaborator;
    lastScan_ = owner_->scanNumber();
    KzDxReferenceReader& reader = owner_->reader();
    const Orvo::ErrorStatus status = reader.read(recordIds_);
    if (status != Orvo::ok) return status;
    if (!isFiledAs(reader)) file(reader);
    leaveLingering(reader.references());
    setNeedsScan(false);
    return Orvo::ok;
}

/// Whether the placements are those that are filed: the usual case, found out without any bookkeeping. Walks
/// the placements and, beside them, each container's array.
bool KzDxBlock::isFiledAs(const KzDxReferenceReader& reader) const {
    if (reader.containers().size() != containers_.size()) return false;
    struct Cursor {
        const KzDbObjectId* at;
        const KzDbObjectId* end;
    };
    std::vector<Cursor> cursors;
    cursors.reserve(containers_.size());
    for (const KzDbObjectId container : reader.containers()) {
        const KzDxContainers::Entry* const entry = containers_.find(container);
        if (entry == nullptr) return false;
        const KzDbObjectId* const first = entry->references.data();
        cursors.push_back({first, first + entry->references.size()});
    }
    for (const Placement& placement : reader.placements()) {
        Cursor& cursor = cursors[placement.container];
        if (cursor.at == cursor.end || *cursor.at != placement.reference) return false;
        ++cursor.at;
    }
    return std::ranges::all_of(cursors, [](const Cursor& cursor) { return cursor.at == cursor.end; });
}

void KzDxBlock::file(const KzDxReferenceReader& reader) {
    const std::vector<KzDbObjectId> filedBefore = filedReferences();
    const std::vector<KzDbObjectId> placed = placedReferences(reader);
    const std::vector<KzDbObjectId> arrived = difference(placed, filedBefore);
    const std::vector<KzDbObjectId> gone = difference(filedBefore, reader.references());
    const std::vector<KzDbObjectId> unread = difference(difference(filedBefore, placed), gone);
    const KzDxContainers before = std::exchange(containers_, sortedByContainer(reader));

    markContainerChanges(before);
    if (!arrived.empty() || !gone.empty()) setHasChanges(true);
    if (isEnabled()) {
        for (const KzDbObjectId reference : arrived) watchReference(reference, true);
        for (const KzDbObjectId reference : unread) lingering_.insert(reference);
    }
    for (const KzDbObjectId reference : gone) watchReference(reference, false);
}

/// Marks a change when a container appeared or lost its last reference.
void KzDxBlock::markContainerChanges(const KzDxContainers& before) {
    if (std::ranges::equal(before, containers_, {}, &KzDxContainers::Entry::container,
                           &KzDxContainers::Entry::container)) {
        return;
    }
    setHasChanges(true);
    owner_->containersChanged();
}

std::vector<KzDbObjectId> KzDxBlock::filedReferences() const {
    std::vector<KzDbObjectId> references;
    for (const KzDxContainers::Entry& entry : containers_) {
        references.insert(references.end(), entry.references.begin(), entry.references.end());
    }
    kzdxSortUnique(references);
    return references;
}
