#include "blocks/registrations.h"

#include "blocks/leave_object.h"
#include "core/opened.h"

#include <algorithm>
#include <cassert>
#include <memory>
#include <utility>

Orvo::ErrorStatus KzDxRegistrations::join(const KzDbObjectIdArray& records,
                                          const KzDxContainers& containers) {
    state_ = State::unsettled; // until the end: memory may run out at any step
    hearsReferences_ = true;
    containers.forEachFiled([this](KzDbObjectId reference) { openAndJoin(reference); });
    return joinRecords(records);
}

Orvo::ErrorStatus KzDxRegistrations::leave(const KzDbObjectIdArray& records,
                                           const KzDxContainers& containers) {
    // No step depends on the one before: what can be left is left.
    const bool areReferencesLeft = leaveReferences(containers);
    const Orvo::ErrorStatus status = leaveRecords(records);
    // Of a record that is not valid the further ones have not been visited.
    const bool areRecordsLeft = status == Orvo::ok && records[0].isValid();
    state_ = areReferencesLeft && areRecordsLeft ? State::none : State::unsettled;
    return status;
}

bool KzDxRegistrations::leaveAll(const KzDbObjectIdArray& records,
                                 const KzDxContainers& containers) noexcept {
    bool areAllLeft = leaveReferences(containers);
    for (const KzDbObjectId record : records) areAllLeft &= kzdxLeaveObject(record, &reactor_);
    // Also those of references that are held open.
    areAllLeft &= attributes_.removeAll(
        [this](KzDbObjectId attribute) { return kzdxLeaveObject(attribute, &reactor_); });
    state_ = areAllLeft ? State::none : State::unsettled;
    return areAllLeft;
}

void KzDxRegistrations::joinReference(const KzDbBlockReference& reference, KzDbObjectId id) {
    reference.addReactor(&reactor_);
    joinAttributes(reference, id);
}

void KzDxRegistrations::forgetFiled(const KzDxContainers& containers) noexcept {
    strays_.eraseIf([&](KzDbObjectId reference) { return containers.isFiled(reference); });
    if (strays_.isEmpty()) strays_ = {};
}

void KzDxRegistrations::dropReference(KzDbObjectId gone) noexcept {
    // Without registrations there is nothing to remember, also when the reference could not be opened.
    if (!leaveReference(gone) && state_ != State::none) strays_.insert(gone);
}

void KzDxRegistrations::suspendReference(KzDbObjectId unread) {
    if (state_ != State::none) strays_.insert(unread);
}

void KzDxRegistrations::settle(bool isEnabled, std::span<const KzDbObjectId> reported,
                               const KzDbObjectIdArray& records, const KzDxContainers& containers) {
    // A stray that is still reported will be filed as soon as it can be read, so it stays registered until
    // then.
    strays_.eraseIf([&](KzDbObjectId reference) {
        const bool isAwaited = isEnabled && std::ranges::binary_search(reported, reference);
        return !isAwaited && leaveReference(reference);
    });
    if (state_ != State::unsettled) return;
    if (isEnabled) {
        static_cast<void>(join(records, containers)); // as at switching on, where nobody is told either
    } else {
        static_cast<void>(leaveAll(records, containers)); // says by `isSettled` whether it has to go on
    }
}

Orvo::ErrorStatus KzDxRegistrations::joinRecords(const KzDbObjectIdArray& records) {
    const Orvo::ErrorStatus status = joinEachRecord(records);
    state_ = State::joined;
    return status;
}

Orvo::ErrorStatus KzDxRegistrations::joinEachRecord(const KzDbObjectIdArray& records) {
    const KzDbObjectId own = records[0];
    if (!own.isValid() || own.isErased() || own.isEffectivelyErased()) return Orvo::invalidObjectId;
    // Up to the first that does not open; the graph then counts its records as not all heard.
    for (const KzDbObjectId id : records) {
        const KzDxOpened<KzDbBlockTableRecord> record(id, KzDb::OpenMode::forNotify);
        if (!record) return record.status();
        record->addReactor(&reactor_);
    }
    return Orvo::ok;
}

Orvo::ErrorStatus KzDxRegistrations::leaveRecords(const KzDbObjectIdArray& records) {
    if (!records[0].isValid()) return Orvo::ok;
    for (const KzDbObjectId id : records) {
        const KzDxOpened<KzDbBlockTableRecord> record(id, KzDb::OpenMode::forNotify, true);
        if (!record) return record.status();
        record->removeReactor(&reactor_);
    }
    return Orvo::ok;
}

void KzDxRegistrations::openAndJoin(KzDbObjectId id) {
    const KzDxOpened<KzDbBlockReference> reference(id, KzDb::OpenMode::forNotify, true);
    if (!reference) {
        missReference();
        return;
    }
    joinReference(*reference.get(), id);
}

void KzDxRegistrations::joinAttributes(const KzDbBlockReference& reference, KzDbObjectId id) {
    const std::unique_ptr<KzDbObjectIterator> attributes(reference.attributeIterator());
    if (attributes == nullptr) return;
    for (; !attributes->done(); attributes->step(false, true)) {
        const KzDbObjectId attributeId = attributes->objectId();
        if (attributeId.isNull() || !attributeId.isValid()) continue;
        if (attributeId.isErased() || attributeId.isEffectivelyErased()) continue;
        const KzDxOpened<KzDbAttribute> attribute(attributeId, KzDb::OpenMode::forNotify, true);
        if (!attribute) continue;
        attributes_.add(id, attributeId); // first: it must be known where the reactor is registered
        attribute->addReactor(&reactor_);
    }
}

/// Leaves a reference, and then its attributes. Whether none of them is joined any more.
bool KzDxRegistrations::leaveReference(KzDbObjectId id) noexcept {
    const auto leaveAttribute = [this](KzDbObjectId attribute) {
        return kzdxLeaveObject(attribute, &reactor_);
    };
    return kzdxLeaveObject(id, &reactor_) && attributes_.removeOf(id, leaveAttribute);
}

/// Leaves all references, filed or not. Whether that was possible.
bool KzDxRegistrations::leaveReferences(const KzDxContainers& containers) noexcept {
    bool areAllLeft = true;
    containers.forEachFiled([&](KzDbObjectId reference) { areAllLeft &= leaveReference(reference); });
    strays_.eraseIf([this](KzDbObjectId reference) { return leaveReference(reference); });
    return areAllLeft && strays_.isEmpty();
}
