#include "blocks/block_node.h"

#include "blocks/block_graph.h"
#include "blocks/block_representation.h"
#include "core/opened.h"
#include "core/scope_guard.h"

#include <cassert>
#include <memory>

namespace {

constexpr const char16_t* enhancedBlockKey = u"ORVO_ENHANCEDBLOCK";

bool isBlockTableRecord(const KzDbObject* object) {
    return object->isA() == KzDbBlockTableRecord::desc();
}

bool isEnhancedBlock(const KzDbBlockTableRecord* record) {
    KzDbEvalGraph* graph = nullptr;
    if (KzDbEvalGraph::getGraph(record, enhancedBlockKey, graph, KzDb::OpenMode::forRead) != Orvo::ok) {
        return false;
    }
    const KzDxOpened<KzDbEvalGraph> presenceIsEnough(graph);
    return true;
}

} // namespace

Orvo::ErrorStatus KzDxBlock::create(KzDxBlock*& node, KzDxBlocks* owner, KzDbBlockTableRecord* record) {
    node = nullptr;
    if (owner == nullptr || record == nullptr) return Orvo::missingCollaborator;
    // Without memory for it the whole scan fails: a record that is passed over would not be looked at again.
    std::unique_ptr<KzDxBlock, KzDxDeferredDeleter> made(new KzDxBlock);
    KzDxScopeGuard undo([&] { owner->forgetNode(*made); });
    const Orvo::ErrorStatus status = made->init(owner, record);
    if (status != Orvo::ok) return status;
    undo.dismiss();
    node = made.release();
    return Orvo::ok;
}

Orvo::ErrorStatus KzDxBlock::init(KzDxBlocks* owner, KzDbBlockTableRecord* record) {
    owner_ = owner;
    id_ = record->objectId();
    recordIds_.append(id_);
    if (isEnhancedBlock(record)) recordIds_.append(representationsOf(record));
    for (const KzDbObjectId each : recordIds_) {
        if (each != id_) furtherRecords_.insert(each);
    }
    if (owner->isEnabled()) {
        storeEnabled(true);
        registrations_.beginJoining();
    }
    const Orvo::ErrorStatus status = read();
    if (status != Orvo::ok) return status;
    // The keys come after the reading: the graph must never hold a key of a node that did not come to be.
    for (const KzDbObjectId each : furtherRecords_) owner->addBlockAlias(each, this);
    // What could not be joined is known to the registrations.
    if (isEnabled()) noteSwitching(registrations_.joinRecords(recordIds_));
    return Orvo::ok;
}

KzDbObjectIdArray KzDxBlock::representationsOf(const KzDbBlockTableRecord* record) const {
    KzDbObjectIdArray ids;
    const KzDbBlockRepresentation* const protocol =
        asBlockRepresentation(KzDbBlockReference::desc()->queryX(KzDbBlockRepresentation::desc()));
    if (protocol == nullptr) return ids;
    if (protocol->getRepresentations(record->objectId(), ids) != Orvo::ok) ids.clear();
    return ids;
}

KzDxBlock::~KzDxBlock() {
    // Nothing is left to do when the deletion was deferred; a node that failed to come to be ends here
    // directly.
    static_cast<void>(KzDxBlock::leaveHost());
}

/// Unregisters from everything. The graph is not touched any more, and nobody is told anything. Without a
/// graph the node's notifications do nothing, which is how one that has to wait can still be called.
bool KzDxBlock::leaveHost() noexcept {
    owner_ = nullptr;
    return registrations_.isEmpty() || registrations_.leaveAll(recordIds_, containers_);
}

Orvo::ErrorStatus KzDxBlock::setEnabled(bool enable) {
    if (enable == isEnabled()) return Orvo::ok;
    // First, so that switching off undoes what was done when memory runs out on the way.
    storeEnabled(enable);
    const Orvo::ErrorStatus status =
        enable ? registrations_.join(recordIds_, containers_) : registrations_.leave(recordIds_, containers_);
    noteSwitching(status);
    return status;
}

/// Has read again what was not joined or left.
void KzDxBlock::noteSwitching(Orvo::ErrorStatus status) {
    if (isHardOfHearing()) becomeStale();
    if (isEnabled() && status != Orvo::ok) owner_->recordIsUnheard();
}

bool KzDxBlock::isHardOfHearing() const {
    return !registrations_.isSettled() || (isEnabled() && !registrations_.hearsReferences()) ||
           containers_.hasUnfiled();
}

void KzDxBlock::copied(const KzDbObject* object, const KzDbObject*) {
    setNeedsScan(true);
    if (isBlockTableRecord(object)) {
        listsMayDiffer();
    } else {
        setHasChanges(true);
    }
}

void KzDxBlock::aboutToChange(const KzDbObject* object) {
    setNeedsScan(true);
    const bool isRecord = isBlockTableRecord(object);
    // A record takes in references of other blocks, and may become a representation of another one.
    if (isRecord || decidesRepresentation(object)) listsMayDiffer();
    const bool isPlainRecord =
        isRecord && !static_cast<const KzDbBlockTableRecord*>(object)->isFromExternalReference();
    if (!isPlainRecord) setHasChanges(true);
}

/// Whether the object may be what tells which block an anonymous record represents: one of its references.
bool KzDxBlock::decidesRepresentation(const KzDbObject* object) const {
    return hasAnonymousRecord_ && object->isA() != KzDbAttribute::desc();
}

void KzDxBlock::goodbye(const KzDbObject* object) {
    object->removeReactor(this); // the object is being taken down; what is filed goes at the next reading
    // No mark, and so no update on its own account; but the next one has to look.
    becomeStale();
    if (decidesRepresentation(object)) listsMayDiffer();
}

void KzDxBlock::setNeedsScan(bool value) {
    if (value) {
        if (owner_ == nullptr) return; // it departs, and is only called because it could not leave yet
        owner_->setNeedsScan(true);
        becomeStale();
    }
    needsScan_ = value;
}

void KzDxBlock::setHasChanges(bool value) {
    if (value) {
        if (owner_ == nullptr) return;
        owner_->setHasChanges(true);
        owner_->nodeChanged(*this);
    }
    hasChanges_ = value;
}

void KzDxBlock::becomeStale() noexcept {
    readsAll_ = true;
    if (owner_ != nullptr) owner_->nodeBecameStale(*this);
}

void KzDxBlock::listsMayDiffer() {
    if (owner_ != nullptr) owner_->listsMayDiffer();
}

void KzDxBlock::addClient(KzDxClientCallback callback) {
    if (callback != nullptr) clients_.insert(callback);
}

void KzDxBlock::removeClient(KzDxClientCallback callback) {
    if (callback != nullptr) clients_.erase(callback);
}
