#include "blocks/registrations.h"

#include "blocks/remove_reactor.h"
#include "zelvane/opened.h"

#include <cassert>
#include <memory>

Orvo::ErrorStatus KzDxRegistrations::registerAll(const KzDbObjectIdArray& records,
                                                 const KzDxContainers& containers) {
    state_ = State::pending; // until the end, because memory may run out at any step
    allReferencesRegistered_ = true;
    containers.forEachPlaced([this](KzDbObjectId reference) { openAndRegister(reference); });
    const Orvo::ErrorStatus status = registerRecords(records);
    state_ = State::complete;
    return status;
}

Orvo::ErrorStatus KzDxRegistrations::unregisterAll(const KzDbObjectIdArray& records,
                                                   const KzDxContainers& containers) {
    // The steps are independent, so a failure does not end the operation.
    const bool areReferencesDone = tryUnregisterReferences(containers);
    const Orvo::ErrorStatus status = unregisterRecords(records);
    // If the first record is invalid, the others were not visited.
    const bool areRecordsDone = status == Orvo::ok && records[0].isValid();
    state_ = areReferencesDone && areRecordsDone ? State::none : State::pending;
    return status;
}

bool KzDxRegistrations::tryUnregisterAll(const KzDbObjectIdArray& records,
                                         const KzDxContainers& containers) noexcept {
    bool isDone = tryUnregisterReferences(containers);
    for (const KzDbObjectId record : records) isDone &= kzdxRemoveReactor(record, &reactor_);
    state_ = isDone ? State::none : State::pending;
    return isDone;
}

void KzDxRegistrations::tryUnregisterAttributes() noexcept {
    static_cast<void>(attributes_.removeAll(
        [this](KzDbObjectId attribute) { return kzdxRemoveReactor(attribute, &reactor_); }));
}

void KzDxRegistrations::registerReference(const KzDbBlockReference& reference, KzDbObjectId id) {
    assert(state_ != State::none); // only a node that is switched on registers
    reference.addReactor(&reactor_);
    registerAttributes(reference, id);
}

void KzDxRegistrations::addUnplaced(KzDbObjectId reference) noexcept {
    if (state_ != State::none) unplaced_.insert(reference);
}

void KzDxRegistrations::unregisterReference(KzDbObjectId gone) noexcept {
    if (!tryUnregister(gone)) addUnplaced(gone);
}

void KzDxRegistrations::retryPending(bool isEnabled, const KzDbObjectIdArray& records,
                                     const KzDxContainers& containers) {
    unplaced_.eraseIf([&](KzDbObjectId reference) {
        if (containers.hasContainer(reference)) return true; // registered with its node's other references
        const bool isAwaited = isEnabled && containers.isReported(reference);
        return !isAwaited && tryUnregister(reference);
    });
    if (unplaced_.isEmpty()) unplaced_ = {}; // releases reserved memory
    if (state_ != State::pending) return;
    if (isEnabled) {
        static_cast<void>(registerAll(records, containers)); // as at switching on, without a status
    } else {
        // `hasPending` shows whether it must be retried.
        static_cast<void>(tryUnregisterAll(records, containers));
    }
}

Orvo::ErrorStatus KzDxRegistrations::registerRecords(const KzDbObjectIdArray& records) {
    assert(records.length() > 0); // a node always has its own record
    registeredRecords_ = 0;
    const KzDbObjectId own = records[0];
    if (!own.isValid() || own.isErased() || own.isEffectivelyErased()) return Orvo::invalidObjectId;
    for (const KzDbObjectId id : records) {
        const Zelvane::Opened<KzDbBlockTableRecord> record(id, KzDb::OpenMode::forNotify);
        if (!record) return record.status();
        record->addReactor(&reactor_);
        ++registeredRecords_;
    }
    return Orvo::ok;
}

Orvo::ErrorStatus KzDxRegistrations::unregisterRecords(const KzDbObjectIdArray& records) {
    if (!records[0].isValid()) return Orvo::ok;
    for (const KzDbObjectId id : records) {
        const Zelvane::Opened<KzDbBlockTableRecord> record(id, KzDb::OpenMode::forNotify, true);
        if (!record) return record.status();
        record->removeReactor(&reactor_);
    }
    return Orvo::ok;
}

void KzDxRegistrations::openAndRegister(KzDbObjectId reference) {
    const Zelvane::Opened<KzDbBlockReference> opened(reference, KzDb::OpenMode::forNotify, true);
    if (!opened) {
        markUnregistered();
        return;
    }
    registerReference(*opened, reference);
}

void KzDxRegistrations::registerAttributes(const KzDbBlockReference& reference, KzDbObjectId id) {
    const std::unique_ptr<KzDbObjectIterator> attributes(reference.attributeIterator());
    if (attributes == nullptr) return;
    for (; !attributes->done(); attributes->step(false, true)) {
        const KzDbObjectId attributeId = attributes->objectId();
        if (attributeId.isNull() || !attributeId.isValid()) continue;
        if (attributeId.isErased() || attributeId.isEffectivelyErased()) continue;
        const Zelvane::Opened<KzDbAttribute> attribute(attributeId, KzDb::OpenMode::forNotify, true);
        if (!attribute) continue;
        attributes_.add(id, attributeId); // first: the registration must be known if memory runs out
        attribute->addReactor(&reactor_);
    }
}

/// Unregisters from a reference, and then from its attributes. Returns whether all succeeded.
bool KzDxRegistrations::tryUnregister(KzDbObjectId reference) noexcept {
    const auto isRemoved = [this](KzDbObjectId attribute) { return kzdxRemoveReactor(attribute, &reactor_); };
    return kzdxRemoveReactor(reference, &reactor_) && attributes_.removeOf(reference, isRemoved);
}

/// Unregisters from all references, with or without a container. Returns whether all succeeded.
bool KzDxRegistrations::tryUnregisterReferences(const KzDxContainers& containers) noexcept {
    bool isDone = true;
    containers.forEachPlaced([&](KzDbObjectId reference) { isDone &= tryUnregister(reference); });
    unplaced_.eraseIf([this](KzDbObjectId reference) { return tryUnregister(reference); });
    return isDone && unplaced_.isEmpty();
}
