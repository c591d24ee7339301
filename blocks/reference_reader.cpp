#include "blocks/reference_reader.h"

#include "blocks/block_graph.h"
#include "blocks/id_set.h"
#include "blocks/model_space.h"
#include "frame/opened.h"

void KzDxReferenceReader::release() {
    forgetDrawings();
    reported_ = KzDbObjectIdArray();
    references_ = {};
    placements_ = {};
    containers_ = {};
    numberOfOwner_.release();
    numberOfContainer_.release();
}

Orvo::ErrorStatus KzDxReferenceReader::read(const KzDbObjectIdArray& records) {
    const Orvo::ErrorStatus status = collectReferences(records);
    if (status == Orvo::ok) placeReferences();
    return status;
}

Orvo::ErrorStatus KzDxReferenceReader::collectReferences(const KzDbObjectIdArray& records) {
    references_.clear();
    for (const KzDbObjectId record : records) {
        if (record.isErased()) continue;
        const Orvo::ErrorStatus status = collectReferencesOf(record);
        if (status != Orvo::ok) return status;
    }
    kzdxSortUnique(references_);
    return Orvo::ok;
}

Orvo::ErrorStatus KzDxReferenceReader::collectReferencesOf(KzDbObjectId record) {
    const KzDxOpened<KzDbBlockTableRecord> opened(record);
    if (!opened) return opened.status();
    reported_.clear();
    Orvo::ErrorStatus status = opened->getBlockReferenceIds(reported_, true, true);
    if (status == Orvo::ok) status = opened->getErasedBlockReferenceIds(reported_);
    if (status == Orvo::ok) references_.insert(references_.end(), reported_.begin(), reported_.end());
    return status;
}

void KzDxReferenceReader::placeReferences() {
    placements_.clear();
    containers_.clear();
    numberOfOwner_.clear();
    numberOfContainer_.clear();
    placements_.reserve(references_.size());
    KzDbObjectId lastOwner;
    std::uint32_t container = nowhere;
    for (const KzDbObjectId id : references_) {
        const KzDxOpened<KzDbBlockReference> reference(id, KzDb::OpenMode::forRead, true);
        if (!reference) continue;
        const KzDbObjectId owner = reference->ownerId();
        if (owner != lastOwner) {
            container = containerNumber(owner);
            lastOwner = owner;
        }
        if (container != nowhere) placements_.push_back({id, container});
    }
}

std::uint32_t KzDxReferenceReader::containerNumber(KzDbObjectId owner) {
    constexpr std::uint32_t unknown = nowhere - 1;
    const std::uint32_t known = numberOfOwner_.find(owner, unknown);
    if (known != unknown) return known;
    const KzDbObjectId container = containerOf(owner);
    if (!container.isValid()) return numberOfOwner_.findOrInsert(owner, nowhere);
    const auto next = static_cast<std::uint32_t>(containers_.size());
    const std::uint32_t number = numberOfContainer_.findOrInsert(container, next);
    if (number == next) containers_.push_back(container);
    return numberOfOwner_.findOrInsert(owner, number);
}

KzDbObjectId KzDxReferenceReader::containerOf(KzDbObjectId owner) {
    if (!kzdxIsForeignModelSpace(owner, graph_.database())) return owner;
    const auto [known, isNew] = xrefBlocks_.try_emplace(owner.database());
    if (isNew) known->second = graph_.xrefBlockOf(owner);
    return known->second;
}
