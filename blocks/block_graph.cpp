#include "blocks/block_graph.h"

#include "blocks/block_node.h"
#include "core/block_table_walk.h"
#include "core/scope_guard.h"

#include <memory>
#include <new>

KzDxBlocks::KzDxBlocks() = default;

KzDxBlocks::~KzDxBlocks() {
    static_cast<void>(leaveHost());
}

Orvo::ErrorStatus KzDxBlocks::create(KzDxBlocks*& graph, KzDxDocumentContext* document) {
    graph = nullptr;
    std::unique_ptr<KzDxBlocks> made(new (std::nothrow) KzDxBlocks);
    if (made == nullptr) return Orvo::missingCollaborator;
    const Orvo::ErrorStatus status = made->init(document);
    if (status == Orvo::ok) graph = made.release();
    return status;
}

Orvo::ErrorStatus KzDxBlocks::init(KzDxDocumentContext* document) {
    reset();
    if (document == nullptr) return Orvo::missingCollaborator;
    document_ = document;
    const KzDbDatabase* const drawing = database();
    if (drawing == nullptr) return Orvo::missingCollaborator;
    const KzDxOpened<KzDbBlockTable> table(drawing->blockTableId());
    if (!table) return table.status();
    const Orvo::ErrorStatus status = table->getAt(u"*Model_Space", modelSpaceId_, false);
    if (status != Orvo::ok) return status;
    static_cast<void>(scanBlockTable());
    setHasChanges(false);
    return Orvo::ok;
}

void KzDxBlocks::reset() {
    document_ = nullptr;
    modelSpaceId_ = KzDbObjectId();
    nesting_.release();
    std::map<KzDbObjectId, KzDxBlock*> leaving;
    leaving.swap(blockMap_);
    // A node's further keys lead to it as well; under its own key it goes once.
    std::erase_if(leaving, [](const auto& entry) { return entry.first != entry.second->id(); });
    for (const auto& [id, node] : leaving) KzDxDeferredDeletion::begin(node);
    layoutIds_.clear();
    setNeedsScan(true);
    setHasChanges(false);
    disableTimer();
    timer_.reset();
}

Orvo::ErrorStatus KzDxBlocks::addBlock(KzDxBlock*& node, KzDbBlockTableRecord* record) {
    node = nullptr;
    if (record == nullptr) return Orvo::missingCollaborator;
    if (blockMap_.contains(record->objectId())) return Orvo::alreadyPresent;
    KzDxBlock* made = nullptr;
    const Orvo::ErrorStatus status = KzDxBlock::create(made, this, record);
    if (status != Orvo::ok) return status;
    KzDxScopeGuard undo([&] {
        std::erase_if(blockMap_, [made](const auto& entry) { return entry.second == made; });
        KzDxDeferredDeletion::begin(made);
    });
    for (const KzDbObjectId key : made->recordIds()) addBlockAlias(key, made);
    static_cast<void>(made->setEnabled(isEnabled()));
    undo.dismiss();
    nesting_.outdate();
    node = made;
    return Orvo::ok;
}

void KzDxBlocks::addBlockAlias(KzDbObjectId key, KzDxBlock* node) {
    blockMap_.try_emplace(key, node);
}

KzDxBlock* KzDxBlocks::node(KzDbObjectId record) const {
    const auto at = blockMap_.find(record);
    return at == blockMap_.end() ? nullptr : at->second;
}

KzDbDatabase* KzDxBlocks::database() const {
    return document_ == nullptr ? nullptr : document_->drawing();
}

void KzDxBlocks::setNeedsScan(bool value) {
    needsScan_ = value;
    if (value) return;
    for (const auto& [key, node] : blockMap_) node->setNeedsScan(false);
}

void KzDxBlocks::setHasChanges(bool value) {
    hasChanges_ = value;
    if (value) return;
    for (const auto& [key, node] : blockMap_) node->setHasChanges(false);
}

KzDbObjectId KzDxBlocks::xrefBlockOf(KzDbObjectId id) const {
    const KzDbDatabase* const own = database();
    const KzDbDatabase* const attached = id.database();
    if (own == nullptr || attached == own) return {};
    KzDbObjectId found;
    kzdxForEachRecordId(*own, [&](KzDbObjectId recordId) {
        const KzDxOpened<KzDbBlockTableRecord> record(recordId);
        if (record && record->isFromExternalReference() && record->xrefDatabase(false) == attached) {
            found = record->objectId();
        }
        return found.isNull();
    });
    return found;
}
