#include "blocks/reference_reader.h"

#include "blocks/block_graph.h"
#include "blocks/id_set.h"
#include "blocks/model_space.h"
#include "core/opened.h"

#include <algorithm>
#include <bit>

void KzDxReferenceReader::release() {
    forgetDrawings();
    filed_ = nullptr;
    reported_ = KzDbObjectIdArray();
    references_ = {};
    placements_ = {};
    containers_ = {};
    numberOfOwner_.release();
    numberOfContainer_.release();
}

Orvo::ErrorStatus KzDxReferenceReader::read(const KzDbObjectIdArray& records, const KzDxContainers& filed) {
    const Orvo::ErrorStatus status = collectReferences(records);
    if (status != Orvo::ok) return status;
    filed_ = &filed;
    placeReferences();
    isAsFiled_ = isAsFiled_ && isNothingMissing();
    return Orvo::ok;
}

Orvo::ErrorStatus KzDxReferenceReader::collectReferences(const KzDbObjectIdArray& records) {
    reported_.clear();
    for (const KzDbObjectId record : records) {
        if (record.isErased()) continue;
        const Orvo::ErrorStatus status = collectReferencesOf(record);
        if (status != Orvo::ok) return status;
    }
    const std::span<KzDbObjectId> all(reported_.begin(), reported_.end());
    references_ = all.first(kzdxSortUnique(all));
    return Orvo::ok;
}

Orvo::ErrorStatus KzDxReferenceReader::collectReferencesOf(KzDbObjectId record) {
    const KzDxOpened<KzDbBlockTableRecord> opened(record);
    if (!opened) return opened.status();
    // Long arrays grow by small steps on their own: a thousand records would copy the ids again and again.
    const std::int32_t room = reported_.physicalLength();
    if (reported_.length() > room / 2) reported_.reserve(2 * room);
    const Orvo::ErrorStatus status = opened->getBlockReferenceIds(reported_, true, true);
    return status == Orvo::ok ? opened->getErasedBlockReferenceIds(reported_) : status;
}

void KzDxReferenceReader::placeReferences() {
    isAsFiled_ = true;
    containers_.clear();
    recentOwners_.fill({});
    numberOfOwner_.clear();
    numberOfContainer_.clear();
    placements_.resize(references_.size());
    std::ranges::transform(references_, placements_.begin(),
                           [this](KzDbObjectId reference) { return placeOf(reference); });
}

/// The number of the container of a reference.
std::uint32_t KzDxReferenceReader::placeOf(KzDbObjectId reference) {
    const KzDxOpened<KzDbBlockReference> opened(reference, KzDb::OpenMode::forRead, true);
    if (!opened) return nowhere;
    const KzDbObjectId owner = opened->ownerId();
    OwnerNumber& recent = recentSlot(owner);
    if (recent.owner != owner) recent = {owner, containerNumber(owner)};
    if (recent.container != nowhere) compare(reference, containers_[recent.container]);
    return recent.container;
}

void KzDxReferenceReader::compare(KzDbObjectId reference, Container& container) {
    if (container.filed != container.filedEnd && *container.filed == reference) {
        ++container.filed;
    } else {
        isAsFiled_ = false;
    }
}

/// Whether everything that was filed has been met.
bool KzDxReferenceReader::isNothingMissing() const {
    return containers_.size() == filed_->size() &&
           std::ranges::all_of(containers_,
                               [](const Container& each) { return each.filed == each.filedEnd; });
}

KzDxReferenceReader::OwnerNumber& KzDxReferenceReader::recentSlot(KzDbObjectId owner) {
    return recentOwners_[kzdxSpread(owner) >> (64 - std::bit_width(recentOwners_.size() - 1))];
}

std::uint32_t KzDxReferenceReader::containerNumber(KzDbObjectId owner) {
    constexpr std::uint32_t unknown = nowhere - 1;
    const std::uint32_t known = numberOfOwner_.find(owner, unknown);
    if (known != unknown) return known;
    const KzDbObjectId container = containerOf(owner);
    if (!container.isValid()) return numberOfOwner_.findOrInsert(owner, nowhere);
    const auto next = static_cast<std::uint32_t>(containers_.size());
    const std::uint32_t number = numberOfContainer_.findOrInsert(container, next);
    if (number == next) {
        const KzDxContainers::Entry* const entry = filed_->find(container);
        const std::span<const KzDbObjectId> filed =
            entry == nullptr ? std::span<const KzDbObjectId>() : entry->references;
        containers_.push_back({container, filed.data(), filed.data() + filed.size()});
    }
    return numberOfOwner_.findOrInsert(owner, number);
}

KzDbObjectId KzDxReferenceReader::containerOf(KzDbObjectId owner) {
    if (!kzdxIsForeignModelSpace(owner, graph_.database())) return owner;
    const auto [known, isNew] = xrefBlocks_.try_emplace(owner.database());
    if (isNew) known->second = graph_.xrefBlockOf(owner);
    return known->second;
}
