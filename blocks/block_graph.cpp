#include "blocks/block_graph.h"

#include "blocks/block_node.h"
#include "core/block_table_walk.h"
#include "core/scope_guard.h"

#include <memory>

KzDxBlocks::KzDxBlocks() = default;

KzDxBlocks::~KzDxBlocks() {
    static_cast<void>(leaveHost());
}

Orvo::ErrorStatus KzDxBlocks::create(KzDxBlocks*& graph, KzDxDocumentContext* document) {
    return make(graph, document, false);
}

Orvo::ErrorStatus KzDxBlocks::createFollowing(KzDxBlocks*& graph, KzDxDocumentContext* document) {
    return make(graph, document, true);
}

/// Makes the graph of a document. `follows`: switched on if it can be.
Orvo::ErrorStatus KzDxBlocks::make(KzDxBlocks*& graph, KzDxDocumentContext* document, bool follows) {
    graph = nullptr;
    std::unique_ptr<KzDxBlocks, KzDxDeferredDeleter> made(new KzDxBlocks);
    const Orvo::ErrorStatus status = made->bind(document);
    if (status != Orvo::ok) return status;
    // Switched on before there are nodes, each of which then joins its objects right after it has read them,
    // while they are in the processor's cache. If it cannot be, whoever needs it tries again and learns why.
    if (follows) static_cast<void>(made->setEnabled(true));
    made->build();
    graph = made.release();
    return Orvo::ok;
}

Orvo::ErrorStatus KzDxBlocks::init(KzDxDocumentContext* document) {
    const Orvo::ErrorStatus status = bind(document);
    if (status == Orvo::ok) build();
    return status;
}

/// Takes the document on, and learns where its model space is, without which nothing can be counted. Makes no
/// node yet.
Orvo::ErrorStatus KzDxBlocks::bind(KzDxDocumentContext* document) {
    reset();
    if (document == nullptr) return Orvo::missingCollaborator;
    document_ = document;
    const KzDbDatabase* const drawing = database();
    if (drawing == nullptr) return Orvo::missingCollaborator;
    const KzDxOpened<KzDbBlockTable> table(drawing->blockTableId());
    if (!table) return table.status();
    return table->getAt(u"*Model_Space", modelSpaceId_, false);
}

void KzDxBlocks::build() {
    // There is a drawing, so nothing is refused; what the reading misses, the next one looks for again.
    static_cast<void>(scanBlockTable());
    setHasChanges(false); // all of it is new, and nobody waits to be told so
}

void KzDxBlocks::reset() {
    document_ = nullptr;
    modelSpaceId_ = KzDbObjectId();
    // What borrows nodes goes first. The nodes leave the host as they go, those that cannot by and by.
    nesting_.release();
    stale_.clear();
    changed_.clear();
    elsewhere_.clear();
    blockMap_.clear();
    nodes_.clear();
    layoutIds_.clear();
    attachments_.clear();
    setNeedsScan(true);
    setHasChanges(false);
    timer_.reset();
}

Orvo::ErrorStatus KzDxBlocks::addBlock(KzDxBlock*& node, KzDbBlockTableRecord* record) {
    node = nullptr;
    if (record == nullptr) return Orvo::missingCollaborator;
    if (blockMap_.contains(record->objectId())) return Orvo::alreadyPresent;
    // Room before the node: it hears of edits as soon as it is there, and then nothing may allocate.
    const std::size_t count = nodes_.size() + 1;
    if (count > nodes_.capacity()) nodes_.reserve(2 * count);
    for (KzDxNodeList* const list : {&stale_, &changed_, &elsewhere_}) list->makeRoom(count);
    KzDxBlock* made = nullptr;
    const Orvo::ErrorStatus status = KzDxBlock::create(made, this, record);
    if (status != Orvo::ok) return status;
    nodes_.emplace_back(made);
    KzDxScopeGuard undo([&] {
        forgetNode(*made);
        nodes_.pop_back();
    });
    blockMap_.insert_or_assign(made->id(), made); // also when one of its own further records has that id
    undo.dismiss();
    nesting_.add(*made);
    node = made;
    return Orvo::ok;
}

void KzDxBlocks::forgetNode(KzDxBlock& node) noexcept {
    std::erase_if(blockMap_, [&node](const auto& entry) { return entry.second == &node; });
    for (KzDxNodeList* const list : {&stale_, &changed_, &elsewhere_}) {
        list->workOff([&node](const KzDxBlock& each) { return &each == &node; });
    }
}

void KzDxBlocks::addBlockAlias(KzDbObjectId key, KzDxBlock* node) {
    // The first block to claim a record keeps it: two enhanced blocks may name one representation.
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
    for (KzDxBlock* const node : stale_) node->setNeedsScan(false); // no other node has the mark
}

void KzDxBlocks::setHasChanges(bool value) {
    hasChanges_ = value;
    if (!value) clearChangedNodes();
}

void KzDxBlocks::clearChangedNodes() {
    for (KzDxBlock* const node : changed_) node->setHasChanges(false);
    changed_.clear();
}

/// The first record of the table that stands for the drawing of `id`. A drawing can be attached more than
/// once, and then the first is taken for all.
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
