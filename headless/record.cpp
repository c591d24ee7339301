#include "headless/record.h"

#include "headless/drawing.h"
#include "headless/faults.h"
#include "headless/modules.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Headless {

/// Merges the two lists and splits the result again, which keeps the order in one pass. References that were
/// removed from memory are dropped.
void ReferenceLists::sort() {
    std::vector<KzDbObjectId> all;
    all.reserve(live_.size() + erased_.size());
    // Unerased references are still in the list of erased ones, and the other way round; both lists ascend.
    std::merge(live_.begin(), live_.end(), erased_.begin(), erased_.end(), std::back_inserter(all));
    std::vector<KzDbObjectId> live;
    std::vector<KzDbObjectId> erased;
    for (const KzDbObjectId id : all) {
        const Object* const reference = objectTable.find(id);
        if (reference == nullptr) continue; // it has left memory
        (reference->isErased() ? erased : live).push_back(id);
    }
    live_ = std::move(live);
    erased_ = std::move(erased);
    isInOrder_ = true;
}

Record::Record(Drawing& drawing, KzDbObjectId table, std::u16string_view name, const Origin& origin)
    : ObjectOf(ownKind, drawing, table), name_(name), origin_(origin) {}

/// Both directions are kept: the block lists its representations, and each of them leads back to it. A record
/// represents one block at most, which the edit has checked.
void Record::addRepresentation(Record& representation) {
    representations_.push_back(representation.id());
    representation.representedBlock_ = id();
}

KzDbDatabase* Record::xrefDatabase(bool flag) const {
    if (!checkUsage(!flag, "xrefDatabase with true")) return nullptr;
    return shouldFail(HostCall::attachedDrawing) ? nullptr : origin_.attachedDrawing;
}

Orvo::ErrorStatus Record::getName(const char16_t*& name) const {
    // Borrowed: it holds until the record is renamed. Given in any case, so that who does not ask for the
    // status is found out.
    name = name_.c_str();
    return shouldFail(HostCall::recordName) ? faultStatus() : Orvo::ok;
}

Orvo::ErrorStatus Record::getBlockReferenceIds(KzDbObjectIdArray& ids, bool first, bool second) const {
    if (!checkUsage(first && second, "getBlockReferenceIds with a false")) return Orvo::notProvidedFor;
    return appendReferences(false, ids);
}

Orvo::ErrorStatus Record::getErasedBlockReferenceIds(KzDbObjectIdArray& ids) const {
    return appendReferences(true, ids);
}

Orvo::ErrorStatus Record::appendReferences(bool isErased, KzDbObjectIdArray& ids) const {
    // Before anything is appended: a call that fails has done nothing.
    if (shouldFail(isErased ? HostCall::erasedReferences : HostCall::references)) {
        return faultStatus();
    }
    reportReferences(isErased, [&ids](const std::vector<KzDbObjectId>& list) {
        ids.append(list.data(), static_cast<std::int32_t>(list.size()));
    });
    return Orvo::ok;
}

} // namespace Headless
