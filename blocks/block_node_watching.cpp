#include "blocks/block_node.h"
#include "blocks/departing_reactors.h"
#include "frame/opened.h"

#include <algorithm>
#include <memory>
#include <utility>

Orvo::ErrorStatus KzDxBlock::setEnabled(bool enable) {
    if (enable == isEnabled()) return Orvo::ok;
    if (!enable) leaveLingering({});
    watchReferences(enable);
    storeEnabled(enable);
    return watchRecords(enable);
}

void KzDxBlock::watchReferences(bool watch) {
    for (const KzDxContainers::Entry& entry : containers_) {
        for (const KzDbObjectId reference : entry.references) watchReference(reference, watch);
    }
}

Orvo::ErrorStatus KzDxBlock::watchRecords(bool watch) {
    if (id_.isNull() || !id_.isValid()) return watch ? Orvo::invalidObjectId : Orvo::ok;
    if (watch && (id_.isErased() || id_.isEffectivelyErased())) return Orvo::invalidObjectId;
    for (const KzDbObjectId* id = recordIds_.begin(); id != recordIds_.end(); ++id) {
        const KzDxOpened<KzDbBlockTableRecord> record(*id, KzDb::OpenMode::forNotify, !watch);
        if (!record) {
            if (!watch) lingerOn(id, recordIds_.end());
            return record.status();
        }
        if (watch) {
            join(*record.get(), *id);
        } else {
            record->removeReactor(this);
        }
    }
    return Orvo::ok;
}

/// Remembers objects that the node stays registered on for now.
void KzDxBlock::lingerOn(const KzDbObjectId* first, const KzDbObjectId* last) {
    for (; first != last; ++first) lingering_.insert(*first);
}

Orvo::ErrorStatus KzDxBlock::watchReference(KzDbObjectId reference, bool watch) {
    return watch ? startWatching(reference) : stopWatching(reference);
}

Orvo::ErrorStatus KzDxBlock::startWatching(KzDbObjectId reference) {
    const KzDxOpened<KzDbBlockReference> opened(reference, KzDb::OpenMode::forNotify, true);
    if (!opened) return opened.status();
    join(*opened.get(), reference);
    watchAttributes(*opened.get(), reference);
    return Orvo::ok;
}

void KzDxBlock::watchAttributes(const KzDbBlockReference& reference, KzDbObjectId id) {
    const std::unique_ptr<KzDbObjectIterator> attributes(reference.attributeIterator());
    if (attributes == nullptr) return;
    for (; !attributes->done(); attributes->step(false, true)) {
        const KzDbObjectId attributeId = attributes->objectId();
        if (attributeId.isNull() || !attributeId.isValid()) continue;
        if (attributeId.isErased() || attributeId.isEffectivelyErased()) continue;
        const KzDxOpened<KzDbAttribute> attribute(attributeId, KzDb::OpenMode::forNotify, true);
        if (!attribute) continue;
        join(*attribute.get(), attributeId);
        watchedAttributes_.add(id, attributeId);
    }
}

Orvo::ErrorStatus KzDxBlock::stopWatching(KzDbObjectId reference) {
    const KzDxOpened<KzDbBlockReference> opened(reference, KzDb::OpenMode::forNotify, true);
    if (opened) opened->removeReactor(this);
    if (!opened && reference.isValid()) {
        lingering_.insert(reference);
    } else {
        leaveAttributesOf(reference);
    }
    return opened.status();
}

void KzDxBlock::leaveAttributesOf(KzDbObjectId reference) {
    for (const KzDbObjectId attribute : watchedAttributes_.take(reference)) leave(attribute);
}

/// Registers with an object that is open.
void KzDxBlock::join(const KzDbObject& object, KzDbObjectId id) {
    object.addReactor(this);
    if (!lingering_.isEmpty()) lingering_.erase(id);
}

/// Unregisters from an object, or remembers that it could not be opened.
void KzDxBlock::leave(KzDbObjectId id) {
    if (!kzdxLeaveObject(id, this)) lingering_.insert(id);
}

/// Tries again to leave what could not be left or read before, except references that the records still
/// report: those are waited for while the node watches.
void KzDxBlock::leaveLingering(std::span<const KzDbObjectId> stillReported) {
    if (lingering_.isEmpty()) return;
    const KzDxIdSet before = std::exchange(lingering_, {});
    for (const KzDbObjectId id : before) {
        const bool isAwaited = isEnabled() && std::ranges::binary_search(stillReported, id);
        if (isAwaited || !kzdxLeaveObject(id, this)) {
            lingering_.insert(id);
        } else {
            leaveAttributesOf(id);
        }
    }
}

/// Unregisters from everything; gives the ids of what could not be left.
std::vector<KzDbObjectId> KzDxBlock::leaveEverything() {
    KzDxBlock::setEnabled(false);
    for (const KzDbObjectId attribute : watchedAttributes_.takeAll()) leave(attribute);
    leaveLingering({});
    return {lingering_.begin(), lingering_.end()};
}
