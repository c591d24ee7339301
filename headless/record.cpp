#include "headless/record.h"

#include "headless/drawing.h"
#include "headless/faults.h"
#include "headless/modules.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Headless {

/// Merges the two lists and splits the result again, which keeps the order. Drops references that were
/// removed from memory. O(references).
void ReferenceLists::sort() {
    std::vector<KzDbObjectId> all;
    all.reserve(live_.size() + erased_.size());
    // A reference may be in the wrong list, but both lists are in ascending order.
    std::merge(live_.begin(), live_.end(), erased_.begin(), erased_.end(), std::back_inserter(all));
    std::vector<KzDbObjectId> live;
    std::vector<KzDbObjectId> erased;
    for (const KzDbObjectId id : all) {
        const Object* const reference = objectTable.find(id);
        if (reference == nullptr) continue; // removed from memory
        (reference->isErased() ? erased : live).push_back(id);
    }
    live_ = std::move(live);
    erased_ = std::move(erased);
    isInOrder_ = true;
}

Record::Record(Drawing& drawing, KzDbObjectId table, std::u16string_view name, const Origin& origin)
    : ObjectOf(ownKind, drawing, table), name_(name), origin_(origin) {}

/// Stores both directions: the block lists its representations, and each representation has its block. A
/// record represents at most one block, which the edit has checked.
void Record::addRepresentation(Record& representation) {
    representations_.push_back(representation.id());
    representation.representedBlock_ = id();
}

KzDbDatabase* Record::xrefDatabase(bool flag) const {
    if (!checkUsage(!flag, "xrefDatabase with true")) return nullptr;
    return shouldFail(HostCall::attachedDrawing) ? nullptr : origin_.attachedDrawing;
}

Orvo::ErrorStatus Record::getName(const char16_t*& name) const {
    // Valid until the record is renamed. Also set if the call fails, so that tests detect callers that
    // ignore the status.
    name = name_.c_str();
    return shouldFail(HostCall::recordName) ? faultStatus() : Orvo::ok;
}

Orvo::ErrorStatus Record::getBlockReferenceIds(KzDbObjectIdArray& ids, bool first, bool second) const {
    if (!checkUsage(first && second, "getBlockReferenceIds with false")) return Orvo::notProvidedFor;
    return appendReferences(false, ids);
}

Orvo::ErrorStatus Record::getErasedBlockReferenceIds(KzDbObjectIdArray& ids) const {
    return appendReferences(true, ids);
}

Orvo::ErrorStatus Record::appendReferences(bool isErased, KzDbObjectIdArray& ids) const {
    // First, because a failed call has no effect.
    if (shouldFail(isErased ? HostCall::erasedReferences : HostCall::references)) {
        return faultStatus();
    }
    reportReferences(isErased, [&ids](const std::vector<KzDbObjectId>& list) {
        ids.append(list.data(), static_cast<std::int32_t>(list.size()));
    });
    return Orvo::ok;
}

} // namespace Headless
