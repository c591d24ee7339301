#include "blocks/block_node.h"
#include "blocks/leave_object.h"
#include "core/opened.h"

#include <algorithm>
#include <memory>

Orvo::ErrorStatus KzDxBlock::setEnabled(bool enable) {
    if (enable == isEnabled()) return Orvo::ok;
    // First, so that switching off undoes what was done when memory runs out on the way.
    storeEnabled(enable);
    isUnsettled_ = true;
    return enable ? join() : leave();
}

Orvo::ErrorStatus KzDxBlock::join() {
    for (const KzDxContainers::Entry& entry : containers_) {
        for (const KzDbObjectId reference : entry.references) joinReference(reference);
    }
    const Orvo::ErrorStatus status = joinRecords();
    isUnsettled_ = false;
    return status;
}

Orvo::ErrorStatus KzDxBlock::leave() {
    const bool areReferencesLeft = leaveReferences();
    const Orvo::ErrorStatus status = leaveRecords();
    isUnsettled_ = !areReferencesLeft || status != Orvo::ok || !id_.isValid();
    return status;
}

/// Does again what could not be done completely: switching on, because memory ran out, or switching off,
/// because somebody held an object open.
void KzDxBlock::settle() {
    if (isEnabled()) {
        static_cast<void>(join());
    } else {
        isUnsettled_ = !leaveEverything();
    }
}

Orvo::ErrorStatus KzDxBlock::joinRecords() {
    if (!id_.isValid() || id_.isErased() || id_.isEffectivelyErased()) return Orvo::invalidObjectId;
    for (const KzDbObjectId id : recordIds_) {
        const KzDxOpened<KzDbBlockTableRecord> record(id, KzDb::OpenMode::forNotify);
        if (!record) return record.status();
        record->addReactor(this);
    }
    return Orvo::ok;
}

Orvo::ErrorStatus KzDxBlock::leaveRecords() {
    if (!id_.isValid()) return Orvo::ok;
    for (const KzDbObjectId id : recordIds_) {
        const KzDxOpened<KzDbBlockTableRecord> record(id, KzDb::OpenMode::forNotify, true);
        if (!record) return record.status();
        record->removeReactor(this);
    }
    return Orvo::ok;
}

void KzDxBlock::joinReference(KzDbObjectId id) {
    const KzDxOpened<KzDbBlockReference> reference(id, KzDb::OpenMode::forNotify, true);
    if (!reference) return;
    reference->addReactor(this);
    unfiled_.erase(id);
    joinAttributes(*reference.get(), id);
}

void KzDxBlock::joinAttributes(const KzDbBlockReference& reference, KzDbObjectId id) {
    const std::unique_ptr<KzDbObjectIterator> attributes(reference.attributeIterator());
    if (attributes == nullptr) return;
    for (; !attributes->done(); attributes->step(false, true)) {
        const KzDbObjectId attributeId = attributes->objectId();
        if (attributeId.isNull() || !attributeId.isValid()) continue;
        if (attributeId.isErased() || attributeId.isEffectivelyErased()) continue;
        const KzDxOpened<KzDbAttribute> attribute(attributeId, KzDb::OpenMode::forNotify, true);
        if (!attribute) continue;
        watchedAttributes_.add(id, attributeId); // first: the node must know where it is registered
        attribute->addReactor(this);
    }
}

/// Unregisters from a reference, and then from its attributes. Whether the node is registered on none of them
/// any more.
bool KzDxBlock::leaveReference(KzDbObjectId id) noexcept {
    const auto leaveAttribute = [this](KzDbObjectId attribute) { return kzdxLeaveObject(attribute, this); };
    return kzdxLeaveObject(id, this) && watchedAttributes_.removeOf(id, leaveAttribute);
}

/// Unregisters from all references, filed or not. Whether that was possible.
bool KzDxBlock::leaveReferences() noexcept {
    bool areAllLeft = true;
    for (const KzDxContainers::Entry& entry : containers_) {
        for (const KzDbObjectId reference : entry.references) areAllLeft &= leaveReference(reference);
    }
    unfiled_.eraseIf([this](KzDbObjectId reference) { return leaveReference(reference); });
    return areAllLeft && unfiled_.isEmpty();
}

/// Tries again to leave what could not be left or read before. While the node watches, what the records still
/// report is waited for.
void KzDxBlock::leaveUnfiled(std::span<const KzDbObjectId> reported) {
    unfiled_.eraseIf([&](KzDbObjectId reference) {
        const bool isAwaited = isEnabled() && std::ranges::binary_search(reported, reference);
        return !isAwaited && leaveReference(reference);
    });
}

/// Unregisters from everything that can be opened. Whether that was all.
bool KzDxBlock::leaveEverything() noexcept {
    bool areAllLeft = leaveReferences();
    for (const KzDbObjectId record : recordIds_) areAllLeft &= kzdxLeaveObject(record, this);
    return areAllLeft;
}

bool KzDxBlock::leaveHost() noexcept {
    forgetGraph();
    if (!isEnabled() && !isUnsettled_) return true;
    storeEnabled(false);
    const bool areObjectsLeft = leaveEverything();
    // Also those of references that are held open.
    const bool areAttributesLeft = watchedAttributes_.removeAll(
        [this](KzDbObjectId attribute) { return kzdxLeaveObject(attribute, this); });
    isUnsettled_ = !areObjectsLeft || !areAttributesLeft;
    return !isUnsettled_;
}
