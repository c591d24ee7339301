#include "blocks/reference_reader.h"

#include "blocks/block_graph.h"
#include "blocks/id_set.h"
#include "blocks/model_space.h"
#include "blocks/registrations.h"
#include "core/opened.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>
#include <type_traits>

namespace {

/// Compares as memory: an update does this for every reference of the drawing.
bool areSame(std::span<const KzDbObjectId> left, std::span<const KzDbObjectId> right) {
    static_assert(std::has_unique_object_representations_v<KzDbObjectId>);
    return left.size() == right.size() &&
           (left.empty() || std::memcmp(left.data(), right.data(), left.size_bytes()) == 0);
}

} // namespace

Orvo::ErrorStatus KzDxReferenceReader::ask(const KzDbObjectIdArray& records) {
    reported_.clear();
    for (const KzDbObjectId record : records) {
        if (record.isErased()) continue;
        const KzDxOpened<KzDbBlockTableRecord> opened(record);
        if (!opened) return opened.status();
        const Orvo::ErrorStatus status = append(*opened.get());
        if (status != Orvo::ok) return status;
    }
    return Orvo::ok;
}

Orvo::ErrorStatus KzDxReferenceReader::ask(const KzDbBlockTableRecord& record) {
    reported_.clear();
    return append(record);
}

Orvo::ErrorStatus KzDxReferenceReader::append(const KzDbBlockTableRecord& record) {
    // Long arrays grow by small steps on their own: a thousand records would copy the ids again and again.
    const std::int32_t room = reported_.physicalLength();
    if (reported_.length() > room / 2) reported_.reserve(2 * room);
    const Orvo::ErrorStatus status = record.getBlockReferenceIds(reported_, true, true);
    if (status != Orvo::ok) return status;
    return record.getErasedBlockReferenceIds(reported_);
}

void KzDxReferenceReader::sortReported() {
    const std::span all(reported_.begin(), reported_.end());
    references_ = all.first(kzdxSortUnique(all));
}

bool KzDxReferenceReader::isAsReported(const KzDxContainers& filed) {
    // Mostly the answers come in ascending order, as they are kept.
    if (areSame({reported_.begin(), reported_.end()}, filed.references())) return true;
    sortReported();
    return areSame(references_, filed.references());
}

/// The containers that were filed keep their numbers, so that places can be compared as numbers.
void KzDxReferenceReader::beginPlacing(const KzDxContainers& filed) {
    sortReported();
    filed_ = &filed;
    own_ = graph_.database();
    containers_.clear();
    for (const KzDxContainers::Entry& entry : filed) containers_.push_back(entry.container);
    hasForeign_ = false;
    hasTranslated_ = false;
    recentOwners_.fill({});
    numberOfOwner_.clear();
    numberOfNew_.clear();
    numbers_.resize(references_.size());
}

void KzDxReferenceReader::place(const KzDxContainers& filed, Places places, KzDxRegistrations* joining) {
    beginPlacing(filed);
    const std::span<const KzDbObjectId> old = filed.references();
    std::size_t at = 0; // both ascend
    for (std::size_t next = 0; next < references_.size(); ++next) {
        const KzDbObjectId reference = references_[next];
        while (at < old.size() && old[at] < reference) ++at;
        const bool isOld = at < old.size() && old[at] == reference;
        const std::uint32_t before = isOld ? filed.numbers()[at] : nowhere;
        if (isOld && places == Places::unknown) {
            numbers_[next] = before;
        } else if (joining != nullptr && before == nowhere) {
            numbers_[next] = joinedPlaceOf(reference, *joining);
        } else {
            numbers_[next] = placeOf(reference);
        }
    }
}

bool KzDxReferenceReader::isAsFiled() const {
    assert(filed_ != nullptr);
    return areSame(references_, filed_->references()) && std::ranges::equal(numbers_, filed_->numbers());
}

KzDxContainers KzDxReferenceReader::containers() const {
    return {references_, numbers_, containers_};
}

/// The number of the container of a reference.
std::uint32_t KzDxReferenceReader::placeOf(KzDbObjectId reference) {
    const KzDxOpened<KzDbBlockReference> opened(reference, KzDb::OpenMode::forRead, true);
    return opened ? placeOf(*opened.get()) : nowhere;
}

/// The same, and joins the reference when it has a container.
std::uint32_t KzDxReferenceReader::joinedPlaceOf(KzDbObjectId reference, KzDxRegistrations& joining) {
    const KzDxOpened<KzDbBlockReference> opened(reference, KzDb::OpenMode::forNotify, true);
    const std::uint32_t number = opened ? placeOf(*opened.get()) : placeOf(reference);
    if (number == nowhere) return nowhere;
    if (opened) {
        joining.joinReference(*opened.get(), reference);
    } else {
        joining.missReference();
    }
    return number;
}

std::uint32_t KzDxReferenceReader::placeOf(const KzDbBlockReference& reference) {
    const KzDbObjectId owner = reference.ownerId();
    OwnerNumber& recent = recentSlot(owner);
    if (recent.owner != owner) recent = {owner, containerNumber(owner)};
    return recent.number;
}

KzDxReferenceReader::OwnerNumber& KzDxReferenceReader::recentSlot(KzDbObjectId owner) {
    return recentOwners_[kzdxSpread(owner) >> (64 - std::bit_width(recentOwners_.size() - 1))];
}

/// The number of an owner's container, found out once in a reading: asking the host about each reference's
/// owner would cost more than opening the reference.
std::uint32_t KzDxReferenceReader::containerNumber(KzDbObjectId owner) {
    constexpr std::uint32_t unknown = nowhere - 1;
    const std::uint32_t known = numberOfOwner_.find(owner, unknown);
    if (known != unknown) return known;
    const KzDbObjectId container = containerOf(owner);
    if (!container.isValid()) return numberOfOwner_.findOrInsert(owner, nowhere);
    if (const KzDxContainers::Entry* const entry = filed_->find(container)) {
        return numberOfOwner_.findOrInsert(owner, static_cast<std::uint32_t>(entry - &*filed_->begin()));
    }
    const auto next = static_cast<std::uint32_t>(containers_.size());
    const std::uint32_t number = numberOfNew_.findOrInsert(container, next);
    if (number == next) containers_.push_back(container);
    return numberOfOwner_.findOrInsert(owner, number);
}

/// Mostly the owner itself. The model space of an attached drawing stands for that drawing, and so does the
/// record here that attaches it; null when there is none (now).
KzDbObjectId KzDxReferenceReader::containerOf(KzDbObjectId owner) {
    const KzDbDatabase* const drawing = owner.database(); // null when the owner is not valid
    if (drawing == nullptr || drawing == own_) return owner;
    hasForeign_ = true;
    if (!kzdxIsForeignModelSpace(owner, own_)) return owner;
    hasTranslated_ = true;
    const auto [known, isNew] = xrefBlocks_.try_emplace(drawing);
    if (isNew) known->second = graph_.xrefBlockOf(owner);
    return known->second;
}
