#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/foreign_drawings.h"
#include "blocks/reference_reader.h"
#include "core/scope_guard.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>
#include <vector>

namespace {

std::vector<KzDbObjectId> placedReferences(const KzDxContainers& containers) {
    std::vector<KzDbObjectId> placed;
    placed.reserve(containers.references().size());
    containers.forEachPlaced([&](KzDbObjectId reference) { placed.push_back(reference); });
    return placed;
}

bool haveSameContainers(const KzDxContainers& left, const KzDxContainers& right) {
    constexpr auto container = &KzDxContainers::Entry::container;
    return std::ranges::equal(left, right, {}, container, container);
}

} // namespace

Orvo::ErrorStatus KzDxBlock::evaluate(KzDbObjectId record) {
    if (owner_ == nullptr) return Orvo::missingCollaborator;
    if (record.isNull()) return Orvo::invalidObjectId;
    addRecord(record);
    markStale();
    KzDxForeignDrawings foreign(*owner_); // current, not those of the last scan
    KzDxReferenceReader reader(owner_->database(), foreign);
    return readReferences(reader); // the node stays stale: the next scan may find other foreign drawings
}

Orvo::ErrorStatus KzDxBlock::refresh() {
    return evaluate(id_);
}

void KzDxBlock::addRecord(KzDbObjectId record) {
    if (record == id_ || furtherRecords_.contains(record)) return;
    // The look-up list is updated last: if memory runs out before, the next call repeats all steps, and a
    // record that is listed twice counts once. The node registers with the record at the next switching on.
    owner_->addBlockAlias(record, this);
    recordIds_.append(record);
    furtherRecords_.insert(record);
}

void KzDxBlock::read(KzDxReferenceReader& reader) {
    assert(isStale());
    if (readReferences(reader) == Orvo::ok) {
        readLevel_ = mayMissNotifications() ? KzDxReadLevel::everything : KzDxReadLevel::nothing;
    } else {
        raiseReadLevel(KzDxReadLevel::everything); // `initial` stays: the node has not been read
    }
}

Orvo::ErrorStatus KzDxBlock::readReferences(KzDxReferenceReader& reader) {
    const Orvo::ErrorStatus status = reader.queryReferences(recordIds_);
    if (status != Orvo::ok) return status;
    const bool isDone = readLevel_ == KzDxReadLevel::newReferences && reader.listsUnchanged(containers_);
    if (!isDone) resolve(reader);
    // Also if the lists are unchanged: a dependent record gets references without a notification.
    if (reader.hasForeign()) owner_->updateState().markForeign(*this);
    return Orvo::ok;
}

/// Determines the containers of the references, and stores them if they are others than before.
void KzDxBlock::resolve(KzDxReferenceReader& reader) {
    if (isEnabled()) registrations_.reserveUnplaced(reader.references().size());
    KzDxScopeGuard remember([&] { rememberRegistered(reader); });
    reader.resolveContainers(containers_, readLevel_, isEnabled() ? &registrations_ : nullptr);
    if (!reader.placementsUnchanged()) store(reader);
    remember.dismiss();
    registrations_.retryPending(isEnabled(), recordIds_, containers_);
    setNeedsScan(false);
}

/// Stores a reading. Marks a change if a reference got a container or is no longer reported, or if a
/// container was added or lost its last reference.
void KzDxBlock::store(const KzDxReferenceReader& reader) {
    KzDxContainers now = reader.containers();
    const std::vector<KzDbObjectId> placedBefore = placedReferences(containers_);
    const std::vector<KzDbObjectId> placedNow = placedReferences(now);
    std::vector<KzDbObjectId> lost; // had a container
    std::ranges::set_difference(placedBefore, placedNow, std::back_inserter(lost));
    bool isChanged = !std::ranges::includes(placedBefore, placedNow);
    registrations_.reserveUnplaced(lost.size());

    // No step from here on can fail.
    if (!haveSameContainers(containers_, now)) {
        isChanged = true;
        owner_->nesting().invalidate();
    }
    containers_ = std::move(now);
    for (const KzDbObjectId reference : lost) {
        if (containers_.isReported(reference)) { // but cannot be read now
            registrations_.addUnplaced(reference);
        } else {
            isChanged = true;
            registrations_.unregisterReference(reference);
        }
    }
    if (isChanged) setHasChanges(true);
}

/// Called if memory runs out between registering with references and storing them.
void KzDxBlock::rememberRegistered(const KzDxReferenceReader& reader) {
    if (!isEnabled()) return; // it did not register, and no memory is reserved
    for (const KzDbObjectId reference : reader.references()) {
        if (!containers_.hasContainer(reference)) registrations_.addUnplaced(reference);
    }
}
