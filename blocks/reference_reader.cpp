#include "blocks/reference_reader.h"

#include "blocks/id_set.h"
#include "blocks/registrations.h"
#include "zelvane/opened.h"

#include <algorithm>
#include <cassert>

Orvo::ErrorStatus kzdxCollectReferences(const KzDbBlockTableRecord& record, KzDbObjectIdArray& ids) {
    // Reserves memory, because long arrays grow by small steps, so that many records would copy the ids
    // repeatedly.
    const std::int32_t room = ids.physicalLength();
    if (ids.length() > room / 2) ids.reserve(2 * room);
    const Orvo::ErrorStatus status = record.getBlockReferenceIds(ids, true, true);
    if (status != Orvo::ok) return status;
    return record.getErasedBlockReferenceIds(ids);
}

Orvo::ErrorStatus KzDxReferenceReader::queryReferences(const KzDbObjectIdArray& records) {
    reported_.clear();
    hasForeign_ = false;
    for (const KzDbObjectId id : records) {
        if (id.isErased()) continue;
        const Zelvane::Opened<KzDbBlockTableRecord> record(id);
        if (!record) return record.status();
        hasForeign_ |= record->isDependent();
        const Orvo::ErrorStatus status = kzdxCollectReferences(*record, reported_);
        if (status != Orvo::ok) return status;
    }
    const std::span all(reported_.begin(), reported_.end());
    references_ = all.first(kzdxSortUnique(all));
    return Orvo::ok;
}

bool KzDxReferenceReader::listsUnchanged(const KzDxContainers& stored) const {
    return kzdxAreSame(references_, stored.references());
}

/// Stored containers keep their numbers, so that placements can be compared by number.
void KzDxReferenceReader::beginResolving(const KzDxContainers& stored) {
    stored_ = &stored;
    containers_.clear();
    for (const KzDxContainers::Entry& entry : stored) containers_.push_back(entry.container);
    numberOfOwner_.clear();
    numbers_.resize(references_.size());
}

void KzDxReferenceReader::resolveContainers(const KzDxContainers& stored, KzDxReadLevel level,
                                            KzDxRegistrations* registrations) {
    beginResolving(stored);
    const std::span<const KzDbObjectId> old = stored.references();
    std::size_t at = 0; // both lists ascend
    for (std::size_t next = 0; next < references_.size(); ++next) {
        const KzDbObjectId reference = references_[next];
        while (at < old.size() && old[at] < reference) ++at;
        const bool isOld = at < old.size() && old[at] == reference;
        const std::uint32_t before = isOld ? stored.numbers()[at] : noContainer;
        if (isOld && level == KzDxReadLevel::newReferences) {
            numbers_[next] = before;
        } else if (registrations != nullptr && before == noContainer) {
            numbers_[next] = registeredNumberOf(reference, *registrations);
        } else {
            numbers_[next] = numberOf(reference);
        }
    }
}

bool KzDxReferenceReader::placementsUnchanged() const {
    assert(stored_ != nullptr);
    return listsUnchanged(*stored_) && std::ranges::equal(numbers_, stored_->numbers());
}

/// The number of the container of a reference.
std::uint32_t KzDxReferenceReader::numberOf(KzDbObjectId reference) {
    const Zelvane::Opened<KzDbBlockReference> opened(reference, KzDb::OpenMode::forRead, true);
    return opened ? containerNumber(opened->ownerId()) : noContainer;
}

/// The same, and registers with the reference if it has a container.
std::uint32_t KzDxReferenceReader::registeredNumberOf(KzDbObjectId reference,
                                                      KzDxRegistrations& registrations) {
    const Zelvane::Opened<KzDbBlockReference> opened(reference, KzDb::OpenMode::forNotify, true);
    const std::uint32_t number = opened ? containerNumber(opened->ownerId()) : numberOf(reference);
    if (number == noContainer) return noContainer;
    if (opened) {
        registrations.registerReference(*opened, reference);
    } else {
        registrations.markUnregistered();
    }
    return number;
}

/// The number of an owner's container, determined once per node, because host calls for the owner of each
/// reference would cost more than opening the reference.
std::uint32_t KzDxReferenceReader::containerNumber(KzDbObjectId owner) {
    constexpr std::uint32_t unknown = noContainer - 1;
    const std::uint32_t known = numberOfOwner_.find(owner, unknown);
    if (known != unknown) return known;
    const KzDbObjectId container = containerOf(owner);
    // The container may also be an owner itself (a record that represents another drawing): it has the same
    // number.
    const std::uint32_t number = container == owner ? newNumber(container) : containerNumber(container);
    return numberOfOwner_.findOrInsert(owner, number);
}

std::uint32_t KzDxReferenceReader::newNumber(KzDbObjectId container) {
    if (!container.isValid()) return noContainer;
    if (const KzDxContainers::Entry* const entry = stored_->find(container)) {
        return static_cast<std::uint32_t>(entry - &*stored_->begin());
    }
    containers_.push_back(container);
    return static_cast<std::uint32_t>(containers_.size() - 1);
}

KzDbObjectId KzDxReferenceReader::containerOf(KzDbObjectId owner) {
    const KzDbDatabase* const drawing = owner.database(); // null if the owner is not valid
    if (drawing == nullptr || drawing == own_) return owner;
    hasForeign_ = true;
    return foreign_.containerOf(owner);
}
