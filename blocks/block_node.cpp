#include "blocks/block_node.h"

#include "blocks/block_graph.h"
#include "blocks/block_representation.h"
#include "core/opened.h"

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
    std::unique_ptr<KzDxBlock> made(new KzDxBlock);
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
    return readAgain();
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
    static_cast<void>(leaveHost());
}

void KzDxBlock::forgetGraph() noexcept {
    hasChanges_ = false;
    needsScan_ = true;
    owner_ = nullptr;
    clients_.clear();
}

void KzDxBlock::copied(const KzDbObject* object, const KzDbObject*) {
    setNeedsScan(true);
    if (!isBlockTableRecord(object)) setHasChanges(true);
}

void KzDxBlock::aboutToChange(const KzDbObject* object) {
    setNeedsScan(true);
    const bool isPlainRecord = isBlockTableRecord(object) &&
                               !static_cast<const KzDbBlockTableRecord*>(object)->isFromExternalReference();
    if (!isPlainRecord) setHasChanges(true);
}

void KzDxBlock::goodbye(const KzDbObject* object) {
    object->removeReactor(this);
}

void KzDxBlock::setNeedsScan(bool value) {
    if (value) {
        if (owner_ == nullptr) return;
        owner_->setNeedsScan(true);
    }
    needsScan_ = value;
}

void KzDxBlock::setHasChanges(bool value) {
    if (value) {
        if (owner_ == nullptr) return;
        owner_->setHasChanges(true);
    }
    hasChanges_ = value;
}

void KzDxBlock::addClient(KzDxClientCallback callback) {
    if (callback != nullptr) clients_.insert(callback);
}

void KzDxBlock::removeClient(KzDxClientCallback callback) {
    if (callback != nullptr) clients_.erase(callback);
}
