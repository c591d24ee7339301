#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/reference_reader.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

namespace {

/// Calls `visit(reference, number of its container)` for each reference that has a place, in ascending order.
template <class Visit>
void forEachPlaced(const KzDxReferenceReader& reader, Visit visit) {
    const std::span<const KzDbObjectId> references = reader.references();
    const std::vector<std::uint32_t>& placements = reader.placements();
    for (std::size_t at = 0; at < references.size(); ++at) {
        if (placements[at] != KzDxReferenceReader::nowhere) visit(references[at], placements[at]);
    }
}

std::vector<KzDbObjectId> placedReferences(const KzDxReferenceReader& reader) {
    std::vector<KzDbObjectId> placed;
    placed.reserve(reader.references().size());
    forEachPlaced(reader, [&placed](KzDbObjectId reference, std::uint32_t) { placed.push_back(reference); });
    return placed;
}

/// The ids of `left` that are not in `right`; both ascending.
std::vector<KzDbObjectId> difference(std::span<const KzDbObjectId> left,
                                     std::span<const KzDbObjectId> right) {
    std::vector<KzDbObjectId> only;
    std::ranges::set_difference(left, right, std::back_inserter(only));
    return only;
}

/// Sorts the placements by container. Each array is made once, at its final length.
KzDxContainers sortedByContainer(const KzDxReferenceReader& reader) {
    std::vector<KzDxContainers::Entry> entries(reader.containerCount());
    std::vector<std::size_t> lengths(entries.size());
    forEachPlaced(reader, [&lengths](KzDbObjectId, std::uint32_t container) { ++lengths[container]; });
    for (std::size_t at = 0; at < entries.size(); ++at) {
        entries[at].container = reader.container(at);
        entries[at].references.reserve(lengths[at]);
    }
    forEachPlaced(reader, [&entries](KzDbObjectId reference, std::uint32_t container) {
        entries[container].references.push_back(reference);
    });
    std::ranges::sort(entries, {}, &KzDxContainers::Entry::container);
    return KzDxContainers(std::move(entries));
}

} // namespace

Orvo::ErrorStatus KzDxBlock::evaluate(KzDbObjectId record) {
    if (owner_ == nullptr) return Orvo::missingCollaborator;
    if (record.isNull()) return Orvo::invalidObjectId;
    listRecord(record);
    owner_->reader().forgetDrawings();
    return readAgain();
}

Orvo::ErrorStatus KzDxBlock::refresh() {
    return evaluate(id_);
}

bool KzDxBlock::listRecord(KzDbObjectId record) {
    if (record == id_ || furtherRecords_.contains(record)) return false;
    // The look-up comes last: should memory run out before, the next call does it all again, and a record
    // that is listed twice counts once.
    owner_->addBlockAlias(record, this);
    recordIds_.append(record);
    furtherRecords_.insert(record);
    return true;
}

Orvo::ErrorStatus KzDxBlock::readAgain() {
    if (owner_ == nullptr) return Orvo::missingCollaborator;
    lastScan_ = owner_->scanNumber();
    KzDxReferenceReader& reader = owner_->reader();
    const Orvo::ErrorStatus status = reader.read(recordIds_, containers_);
    if (status != Orvo::ok) return status;
    if (!reader.isAsFiled()) file(reader);
    leaveUnfiled(reader.references());
    if (isUnsettled_) settle();
    setNeedsScan(false);
    return Orvo::ok;
}

void KzDxBlock::file(const KzDxReferenceReader& reader) {
    const std::vector<KzDbObjectId> filedBefore = filedReferences();
    const std::vector<KzDbObjectId> placed = placedReferences(reader);
    const std::vector<KzDbObjectId> arrived = difference(placed, filedBefore);
    const std::vector<KzDbObjectId> gone = difference(filedBefore, reader.references());
    const std::vector<KzDbObjectId> unread = difference(difference(filedBefore, placed), gone);
    unfiled_.makeRoomFor(gone.size() + unread.size());
    const KzDxContainers before = std::exchange(containers_, sortedByContainer(reader));

    // Nothing from here on can fail but joining, which the next reading goes on with.
    markContainerChanges(before);
    if (!arrived.empty() || !gone.empty()) setHasChanges(true);
    unfile(gone, unread);
    if (isEnabled()) joinArrived(arrived);
}

/// Leaves references that are gone, and remembers those that the node may still be reactor of.
void KzDxBlock::unfile(std::span<const KzDbObjectId> gone, std::span<const KzDbObjectId> unread) {
    const bool isKnown = isEnabled() || isUnsettled_;
    for (const KzDbObjectId reference : gone) {
        if (!leaveReference(reference) && isKnown) unfiled_.insert(reference);
    }
    if (!isKnown) return;
    for (const KzDbObjectId reference : unread) unfiled_.insert(reference);
}

void KzDxBlock::joinArrived(std::span<const KzDbObjectId> arrived) {
    const bool wasUnsettled = std::exchange(isUnsettled_, true);
    for (const KzDbObjectId reference : arrived) joinReference(reference);
    isUnsettled_ = wasUnsettled;
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
