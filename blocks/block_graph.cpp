#include "blocks/block_graph.h"

#include "blocks/block_node.h"
#include "zelvane/block_table_walk.h"

#include <memory>

KzDxBlocks::KzDxBlocks() = default;

KzDxBlocks::~KzDxBlocks() {
    static_cast<void>(tryUnregister());
}

Orvo::ErrorStatus KzDxBlocks::create(KzDxBlocks*& graph, KzDxDocument* document) {
    graph = nullptr;
    std::unique_ptr<KzDxBlocks, KzDxDeferredDeleter> made(new KzDxBlocks);
    const Orvo::ErrorStatus status = made->init(document);
    if (status == Orvo::ok) graph = made.release();
    return status;
}

Orvo::ErrorStatus KzDxBlocks::createEnabled(KzDxBlocks*& graph, KzDxDocument* document) {
    graph = nullptr;
    std::unique_ptr<KzDxBlocks, KzDxDeferredDeleter> made(new KzDxBlocks);
    const Orvo::ErrorStatus status = made->bind(kzdxContextOf(document));
    if (status != Orvo::ok) return status;
    if (const KzDbDatabase* const drawing = made->database()) made->buildEnabled(*drawing);
    graph = made.release();
    return Orvo::ok;
}

/// The same as `init` and `scanAndEnable`, but opens each reference once: the graph is switched on before
/// the references are read, so that reading also registers with them.
void KzDxBlocks::buildEnabled(const KzDbDatabase& drawing) {
    // The second scan may find more: if a representation precedes its block in the table, the first scan
    // creates a separate node for it, and the second one finds its block.
    for (int scan = 1; scan <= 2; ++scan) scanner_.scanTable(drawing);
    static_cast<void>(switchEnabled(true)); // the caller retries a failure and gets the status
    scanner_.readStaleNodes(drawing);
    setHasChanges(false);
}

Orvo::ErrorStatus KzDxBlocks::init(KzDxDocument* document) {
    const Orvo::ErrorStatus status = bind(kzdxContextOf(document));
    if (status != Orvo::ok) return status;
    static_cast<void>(scanBlockTable()); // cannot fail: there is a drawing
    setHasChanges(false);                // a new graph has no changes
    return Orvo::ok;
}

/// Stores the document and finds its model space, which queries need. Creates no nodes.
Orvo::ErrorStatus KzDxBlocks::bind(KzDxDocumentContext* document) {
    reset();
    if (document == nullptr) return Orvo::missingCollaborator;
    document_ = document;
    const KzDbDatabase* const drawing = database();
    if (drawing == nullptr) return Orvo::missingCollaborator;
    const Zelvane::Opened<KzDbBlockTable> table(drawing->blockTableId());
    if (!table) return table.status();
    return table->getAt(u"*Model_Space", modelSpaceId_, false);
}

void KzDxBlocks::reset() {
    document_ = nullptr;
    modelSpaceId_ = KzDbObjectId();
    // References to nodes are removed first. The deletion of some nodes may be deferred.
    nesting_.invalidate();
    scanner_.clear();
    state_.clear();
    store_.clear();
    setNeedsScan(true);
    setHasChanges(false);
    timer_.reset();
}

Orvo::ErrorStatus KzDxBlocks::addBlock(KzDxBlock*& node, KzDbBlockTableRecord* record) {
    node = nullptr;
    if (record == nullptr) return Orvo::missingCollaborator;
    const Orvo::ErrorStatus status = addNode(node, *record);
    if (status == Orvo::ok) static_cast<void>(node->refresh()); // if that fails, the next scan reads it
    return status;
}

Orvo::ErrorStatus KzDxBlocks::addNode(KzDxBlock*& node, KzDbBlockTableRecord& record) {
    node = nullptr;
    if (store_.find(record.objectId()) != nullptr) return Orvo::alreadyPresent;
    state_.reserve(store_.nodes().size() + 1); // before it is registered: notifications must not allocate
    KzDxBlock* made = nullptr;
    const Orvo::ErrorStatus status = KzDxBlock::create(made, this, &record);
    if (status != Orvo::ok) return status;
    store_.add(KzDxNodeStore::Node(made));
    nesting_.invalidate();
    state_.markStale(*made, KzDxReadLevel::initial);
    static_cast<void>(made->setEnabled(isEnabled())); // registers with references when they are read
    node = made;
    return Orvo::ok;
}

void KzDxBlocks::addBlockAlias(KzDbObjectId key, KzDxBlock* node) {
    store_.addAlias(key, *node);
}

KzDbDatabase* KzDxBlocks::database() const {
    return document_ == nullptr ? nullptr : document_->drawing();
}

void KzDxBlocks::setNeedsScan(bool value) {
    needsScan_ = value;
    if (value) return;
    for (KzDxBlock* const node : state_.stale()) node->setNeedsScan(false); // no other node has the mark
}

void KzDxBlocks::setHasChanges(bool value) {
    hasChanges_ = value;
    if (!value) state_.clearChanged();
}

KzDbObjectId KzDxBlocks::xrefBlockOf(KzDbObjectId id) const {
    const KzDbDatabase* const own = database();
    const KzDbDatabase* const attached = id.database();
    if (own == nullptr || attached == own) return {};
    KzDbObjectId found;
    Zelvane::forEachRecordId(*own, [&](KzDbObjectId recordId) {
        const Zelvane::Opened<KzDbBlockTableRecord> record(recordId);
        if (record && record->isFromExternalReference() && record->xrefDatabase(false) == attached) {
            found = record->objectId();
        }
        return found.isNull();
    });
    return found;
}
