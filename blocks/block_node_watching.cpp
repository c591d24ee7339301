#include "blocks/block_node.h"
#include "blocks/departing_reactors.h"
#include "frame/opened.h"

#include <algorithm>
#include <memory>

Orvo::ErrorStatus KzDxBlock::setEnabled(bool enable) {
    if (enable == isEnabled()) return Orvo::ok;
    watchReferences(enable);
    storeEnabled(enable);
    if (!enable) leaveLingering({});
    return watchRecords(enable);
}

void KzDxBlock::watchReferences(bool watch) {
    for (const KzDxContainers::Entry& entry : containers_) {
        for (const KzDbObjectId reference : entry.references) watchReference(reference, watch);
    }
}

Orvo::ErrorStatus KzDxBlock::watchRecords(bool watch) {
    if (id_.isNull() || !id_.isValid()) {
        if (watch) return Orvo::invalidObjectId;
        lingerOn(recordIds_.begin(), recordIds_.end());
        return Orvo::ok;
    }
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
    lingering_.insert(first, last);
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
        watchedAttributes_.add(id, attributeId); // first: the node must know where it is registered
        join(*attribute.get(), attributeId);
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
    lingering_.erase(id);
}

/// Unregisters from an object, or remembers that it could not be opened.
void KzDxBlock::leave(KzDbObjectId id) {
    if (!kzdxLeaveObject(id, this)) lingering_.insert(id);
}

/// Whether an object belongs to the block: one of its records, a reference that they report, or an attribute
/// of one. An attribute that cannot be opened is taken for none; it cannot be left either.
bool KzDxBlock::isPart(KzDbObjectId id, std::span<const KzDbObjectId> reported) const {
    if (id == id_ || furtherRecords_.contains(id) || std::ranges::binary_search(reported, id)) return true;
    const KzDxOpened<KzDbAttribute> attribute(id, KzDb::OpenMode::forRead, true);
    return attribute && std::ranges::binary_search(reported, attribute->ownerId());
}

/// Tries again to leave what could not be left or read before. While the node watches, what belongs to the
/// block is waited for.
void KzDxBlock::leaveLingering(std::span<const KzDbObjectId> reported) {
    for (auto at = lingering_.begin(); at != lingering_.end();) {
        const KzDbObjectId id = *at;
        if ((isEnabled() && isPart(id, reported)) || !kzdxLeaveObject(id, this)) {
            ++at;
        } else {
            leaveAttributesOf(id);
            at = lingering_.erase(at);
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
