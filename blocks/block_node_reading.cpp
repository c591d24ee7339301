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

/// The differences between a reading and the stored references. Lists are in ascending order.
struct KzDxBlock::Differences {
    bool hasAdded = false;            ///< a reference has a container, and had none before
    std::vector<KzDbObjectId> gone;   ///< had a container, and are no longer reported
    std::vector<KzDbObjectId> unread; ///< had a container, and are reported without one

    Differences(const KzDxContainers& before, const KzDxContainers& now) {
        const std::vector<KzDbObjectId> old = placed(before);
        const std::vector<KzDbObjectId> fresh = placed(now);
        hasAdded = !std::ranges::includes(old, fresh);
        std::vector<KzDbObjectId> lost;
        std::ranges::set_difference(old, fresh, std::back_inserter(lost));
        std::ranges::set_difference(lost, now.references(), std::back_inserter(gone));
        std::ranges::set_intersection(lost, now.references(), std::back_inserter(unread));
    }

private:
    static std::vector<KzDbObjectId> placed(const KzDxContainers& containers) {
        std::vector<KzDbObjectId> all;
        all.reserve(containers.references().size());
        containers.forEachPlaced([&](KzDbObjectId reference) { all.push_back(reference); });
        return all;
    }
};

Orvo::ErrorStatus KzDxBlock::evaluate(KzDbObjectId record) {
    if (owner_ == nullptr) return Orvo::missingCollaborator;
    if (record.isNull()) return Orvo::invalidObjectId;
    addRecord(record);
    markStale();
    KzDxForeignDrawings foreign(*owner_); // current, not those of the last scan
    KzDxReferenceReader reader(owner_->database(), foreign);
    const Orvo::ErrorStatus status = readReferences(reader);
    // The node stays stale, because the next scan may find other foreign drawings.
    owner_->updateState().raiseLevel(KzDxScanLevel::referenceLists);
    return status;
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
    owner_->updateState().markStale(*this, KzDxReadLevel::newReferences);
}

bool KzDxBlock::read(KzDxReferenceReader& reader) {
    assert(isStale() && readLevel_ != KzDxReadLevel::nothing);
    if (readReferences(reader) != Orvo::ok) return false;
    const bool isUpToDate = !mayMissNotifications();
    readLevel_ = isUpToDate ? KzDxReadLevel::nothing : KzDxReadLevel::everything;
    return isUpToDate;
}

Orvo::ErrorStatus KzDxBlock::readReferences(KzDxReferenceReader& reader) {
    const Orvo::ErrorStatus status = reader.queryReferences(recordIds_);
    if (status != Orvo::ok) return status;
    // Also if nothing is read below: a dependent record gets references without a notification.
    if (reader.hasForeign()) owner_->updateState().markForeign(*this);
    if (readLevel_ == KzDxReadLevel::newReferences && reader.listsUnchanged(containers_)) return Orvo::ok;
    if (isEnabled()) registrations_.reserveUnplaced(reader.reportedCount());
    KzDxScopeGuard remember([&] { rememberRegistered(reader); });
    reader.resolveContainers(containers_, readLevel_, isEnabled() ? &registrations_ : nullptr);
    if (reader.hasForeign()) owner_->updateState().markForeign(*this);
    if (!reader.placementsUnchanged()) store(reader);
    remember.dismiss();
    registrations_.dropPlaced(containers_);
    registrations_.retryPending(isEnabled(), reader.references(), recordIds_, containers_);
    setNeedsScan(false);
    return Orvo::ok;
}

void KzDxBlock::store(const KzDxReferenceReader& reader) {
    KzDxContainers now = reader.containers();
    const Differences differences(containers_, now);
    registrations_.reserveUnplaced(differences.gone.size() + differences.unread.size());

    // No step from here on can fail.
    const KzDxContainers before = std::exchange(containers_, std::move(now));
    markContainerChanges(before);
    if (differences.hasAdded || !differences.gone.empty()) setHasChanges(true);
    for (const KzDbObjectId reference : differences.gone) registrations_.unregisterReference(reference);
    for (const KzDbObjectId reference : differences.unread) registrations_.keepRegistered(reference);
}

/// Called if memory runs out between registering with references and storing them.
void KzDxBlock::rememberRegistered(const KzDxReferenceReader& reader) {
    if (!isEnabled()) return;
    for (const KzDbObjectId reference : reader.references()) {
        if (!containers_.hasContainer(reference)) registrations_.addUnplaced(reference);
    }
}

/// Marks a change if a container was added or lost its last reference.
void KzDxBlock::markContainerChanges(const KzDxContainers& before) {
    if (std::ranges::equal(before, containers_, {}, &KzDxContainers::Entry::container,
                           &KzDxContainers::Entry::container)) {
        return;
    }
    setHasChanges(true);
    owner_->nesting().update(*this, before);
}
