#include "blocks/block_node.h"

#include "blocks/block_graph.h"
#include "blocks/block_representation.h"
#include "blocks/reference_reader.h"
#include "zelvane/opened.h"

namespace {

constexpr const char16_t* enhancedBlockKey = u"ORVO_ENHANCEDBLOCK";

/// Whether an object is exactly a record. Objects of derived classes count as references, as for clients.
bool isBlockTableRecord(const KzDbObject* object) {
    return object->isA() == KzDbBlockTableRecord::desc();
}

bool isEnhancedBlock(const KzDbBlockTableRecord* record) {
    KzDbEvalGraph* graph = nullptr;
    if (KzDbEvalGraph::getGraph(record, enhancedBlockKey, graph, KzDb::OpenMode::forRead) != Orvo::ok) {
        return false;
    }
    const Zelvane::Opened<KzDbEvalGraph> presenceIsEnough(graph);
    return true;
}

KzDbObjectIdArray representationsOf(const KzDbBlockTableRecord* record) {
    KzDbObjectIdArray ids;
    const KzDbBlockRepresentation* const protocol =
        asBlockRepresentation(KzDbBlockReference::desc()->queryX(KzDbBlockRepresentation::desc()));
    if (protocol == nullptr || protocol->getRepresentations(record->objectId(), ids) != Orvo::ok) ids.clear();
    return ids;
}

} // namespace

Orvo::ErrorStatus KzDxBlock::create(KzDxBlock*& node, KzDxBlocks* owner, KzDbBlockTableRecord* record) {
    node = nullptr;
    if (owner == nullptr || record == nullptr) return Orvo::missingCollaborator;
    KzDxNodeStore::Node made(new KzDxBlock);
    const Orvo::ErrorStatus status = made->init(owner, record);
    if (status == Orvo::ok) node = made.release();
    return status;
}

Orvo::ErrorStatus KzDxBlock::init(KzDxBlocks* owner, KzDbBlockTableRecord* record) {
    owner_ = owner;
    id_ = record->objectId();
    recordIds_.append(id_);
    if (isEnhancedBlock(record)) recordIds_.append(representationsOf(record));
    for (const KzDbObjectId each : recordIds_) {
        if (each != id_) furtherRecords_.insert(each);
    }
    // If the records cannot be read, no node is created.
    KzDxForeignDrawings foreign(*owner);
    KzDxReferenceReader reader(nullptr, foreign); // without a drawing, because it opens no reference
    return reader.queryReferences(recordIds_);
}

KzDxBlock::~KzDxBlock() {
    // Has no effect after a deferred deletion, which is the usual way.
    static_cast<void>(KzDxBlock::tryUnregister());
}

/// Unregisters from everything, and detaches from the graph. Without a graph, notifications have no effect,
/// which matters because a node whose deletion is pending may still be notified.
bool KzDxBlock::tryUnregister() noexcept {
    owner_ = nullptr;
    if (registrations_.isEmpty()) return true;
    registrations_.tryUnregisterAttributes();
    return registrations_.tryUnregisterAll(recordIds_, containers_);
}

Orvo::ErrorStatus KzDxBlock::setEnabled(bool enable) {
    if (enable == isEnabled()) return Orvo::ok;
    // First, so that switching off undoes a part if memory runs out.
    storeEnabled(enable);
    const Orvo::ErrorStatus status = enable ? registrations_.registerAll(recordIds_, containers_)
                                            : registrations_.unregisterAll(recordIds_, containers_);
    if (mayMissNotifications() && owner_ != nullptr) {
        markStale();
        if (isDue()) owner_->updateState().requestReferenceLists();
    }
    return status;
}

/// Whether edits may change the node's references without a notification. Such a node is read by every
/// update while a record leads to it.
bool KzDxBlock::mayMissNotifications() const {
    if (registrations_.hasPending() || containers_.hasUnplaced()) return true;
    if (isEnabled()) return !areRecordsRegistered() || !registrations_.allReferencesRegistered();
    return owner_ != nullptr && owner_->isEnabled(); // switched off alone
}

void KzDxBlock::copied(const KzDbObject* object, const KzDbObject*) {
    setNeedsScan(true);
    if (!isBlockTableRecord(object)) setHasChanges(true);
}

void KzDxBlock::aboutToChange(const KzDbObject* object) {
    setNeedsScan(true);
    objectEdited(object);
    const bool isPlainRecord = isBlockTableRecord(object) &&
                               !static_cast<const KzDbBlockTableRecord*>(object)->isFromExternalReference();
    if (!isPlainRecord) setHasChanges(true);
}

void KzDxBlock::goodbye(const KzDbObject* object) {
    object->removeReactor(this); // the object is being destroyed; its id stays stored until the next reading
    objectEdited(object);        // does not set `needsScan`, so it causes no update
}

void KzDxBlock::objectEdited(const KzDbObject* object) {
    if (owner_ != nullptr) owner_->updateState().objectEdited(object);
}

void KzDxBlock::markStale() noexcept {
    if (owner_ != nullptr) owner_->updateState().markStale(*this, KzDxReadLevel::everything);
}

void KzDxBlock::setNeedsScan(bool value) {
    if (value) {
        if (owner_ == nullptr) return; // deletion is pending
        owner_->setNeedsScan(true);
        markStale();
    }
    needsScan_ = value;
}

void KzDxBlock::setHasChanges(bool value) {
    if (owner_ == nullptr) return; // deletion is pending
    if (value) owner_->setHasChanges(true);
    owner_->updateState().setChanged(*this, value);
}

void KzDxBlock::addClient(KzDxClientCallback callback) {
    if (callback != nullptr) clients_.insert(callback);
}

void KzDxBlock::removeClient(KzDxClientCallback callback) {
    if (callback != nullptr) clients_.erase(callback);
}
