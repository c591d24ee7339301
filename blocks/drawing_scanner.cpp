#include "blocks/drawing_scanner.h"

#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/block_representation.h"
#include "blocks/id_set.h"
#include "blocks/reference_reader.h"
#include "core/deferred_deletion.h"
#include "core/scope_guard.h"
#include "zelvane/block_table_walk.h"

#include <algorithm>
#include <cassert>
#include <utility>

void KzDxDrawingScanner::scan(const KzDbDatabase& drawing) {
    scanTable(drawing);
    readStaleNodes(drawing);
}

void KzDxDrawingScanner::scanTable(const KzDbDatabase& drawing) {
    KzDxDeferredDeletion::retryAll();
    KzDxUpdateState& state = graph_.updateState();
    const bool needsReferenceLists = state.needsReferenceLists();
    state.requestReferenceLists(); // for the next scan, if this one is interrupted
    if (needsReferenceLists || !visitUncertain(drawing)) visitAll(drawing);
}

/// Visits the uncertain records. Returns whether the table has the records of the last scan, in that order,
/// and each leads to the same node.
bool KzDxDrawingScanner::visitUncertain(const KzDbDatabase& drawing) {
    std::size_t next = 0;
    bool isSame = true;
    Zelvane::forEachRecordId(drawing, [&](KzDbObjectId id) {
        isSame = next < records_.size() && records_[next].id == id;
        assert(!isSame || records_[next].node != nullptr); // otherwise all records are visited
        if (isSame && records_[next].isUncertain) {
            isSame = visit(id, /*comparesLists=*/false).node == records_[next].node;
        }
        ++next;
        return isSame;
    });
    return isSame && next == records_.size();
}

void KzDxDrawingScanner::visitAll(const KzDbDatabase& drawing) {
    std::vector<Record> found;
    found.reserve(records_.size() + 1);
    hint_ = 0;
    Zelvane::forEachRecordId(drawing, [&](KzDbObjectId id) {
        found.push_back(visit(id, /*comparesLists=*/true));
        return true;
    });
    records_ = std::move(found); // empty if the table could not be read: then the next scan finds other ids
    storeReached();
}

KzDxDrawingScanner::Record KzDxDrawingScanner::visit(KzDbObjectId id, bool comparesLists) {
    Record record{.id = id};
    const Zelvane::Opened<KzDbBlockTableRecord> opened(id);
    if (opened) {
        record.isLayout = opened->isLayout();
        record.isFromExternalReference = opened->isFromExternalReference();
        record.node =
            opened->isAnonymous() ? nodeOfAnonymous(record, *opened) : nodeUnder(knownNode(id), id, *opened);
    }
    // A record that is held open has no node, so the next scan visits it again: the graph is not notified
    // when the record is closed.
    if (comparesLists && record.node != nullptr && !isListUnchanged(*opened, *record.node)) {
        graph_.updateState().markStale(*record.node, KzDxReadLevel::newReferences);
    }
    return record;
}

/// Whether the node has no other record and has stored the references that the record reports. Checked
/// while the record is open, so that most nodes need not be read.
bool KzDxDrawingScanner::isListUnchanged(const KzDbBlockTableRecord& record, const KzDxBlock& node) {
    if (node.isStale() || node.recordIds().length() != 1) return false;
    reported_.clear();
    return kzdxCollectReferences(record, reported_) == Orvo::ok &&
           kzdxAreSame({reported_.begin(), reported_.end()}, node.containers().references());
}

/// The node of the block that an anonymous record represents, or of the record itself if it represents none.
KzDxBlock* KzDxDrawingScanner::nodeOfAnonymous(Record& record, KzDbBlockTableRecord& opened) {
    const Original original = originalOf(opened);
    const KzDbObjectId key = original.block.isNull() ? record.id : original.block;
    KzDxBlock* const node = nodeUnder(graph_.node(key), record.id, opened);
    // The result is certain if the node is the same without it. References of other drawings may be added
    // without a notification.
    record.isUncertain =
        !original.isCertain || graph_.node(key) != graph_.node(record.id) || opened.isDependent();
    return node;
}

/// Adds a record to the node that was found for it, or to a new node if none was found. Null if that node
/// cannot be created, for example because the record has a node although the block that it represents has
/// none.
KzDxBlock* KzDxDrawingScanner::nodeUnder(KzDxBlock* found, KzDbObjectId id, KzDbBlockTableRecord& opened) {
    if (found != nullptr) {
        found->addRecord(id);
        return found;
    }
    KzDxBlock* added = nullptr;
    return graph_.addNode(added, opened) == Orvo::ok ? added : nullptr;
}

/// What an anonymous record represents: the enhanced block that the first of its references with the
/// protocol returns.
KzDxDrawingScanner::Original KzDxDrawingScanner::originalOf(const KzDbBlockTableRecord& record) {
    KzDbObjectIdArray references;
    bool isCertain = record.getBlockReferenceIds(references, true, true) == Orvo::ok;
    for (const KzDbObjectId each : references) {
        const Zelvane::Opened<KzDbBlockReference> reference(each, KzDb::OpenMode::forNotify, true);
        const KzDbBlockRepresentation* const protocol =
            reference ? asBlockRepresentation(reference->queryX(KzDbBlockRepresentation::desc())) : nullptr;
        if (protocol != nullptr) {
            const KzDbObjectId block = protocol->originalBlockTableRecord(reference.get());
            return {.block = block, .isCertain = isCertain && !block.isNull()};
        }
        isCertain = false; // the next scan may be able to read it
    }
    return {.block = {}, .isCertain = isCertain};
}

/// The node with that key, usually without a look-up, because records are visited in the order of the last
/// scan.
KzDxBlock* KzDxDrawingScanner::knownNode(KzDbObjectId id) {
    while (hint_ < records_.size() && records_[hint_].id < id) ++hint_;
    const bool isKnown = hint_ < records_.size() && records_[hint_].id == id;
    KzDxBlock* const node = isKnown ? records_[hint_].node : nullptr;
    return node != nullptr ? node : graph_.node(id);
}

/// Marks the nodes that records lead to. Other nodes, if they are stale, stay stale until a record leads to
/// them again.
void KzDxDrawingScanner::storeReached() {
    hasNodes_ = true;
    layoutIds_.clear();
    for (const auto& node : graph_.nodes()) node->setReached(false);
    for (const Record& record : records_) {
        if (record.isLayout) layoutIds_.append(record.id);
        if (record.node != nullptr) {
            record.node->setReached(true);
        } else {
            hasNodes_ = false;
        }
    }
}

void KzDxDrawingScanner::refreshForeignDrawings() {
    KzDxUpdateState& state = graph_.updateState();
    std::vector<KzDbObjectId> attaching;
    if (!foreign_.isEmpty()) {
        for (const Record& record : records_) {
            if (record.isFromExternalReference) attaching.push_back(record.id);
        }
    }
    const bool isSame = foreign_.refresh(attaching);
    const KzDxReadLevel level = isSame ? KzDxReadLevel::newReferences : KzDxReadLevel::everything;
    for (KzDxBlock* const node : state.foreign()) state.markStale(*node, level);
}

void KzDxDrawingScanner::readStaleNodes(const KzDbDatabase& drawing) {
    refreshForeignDrawings();
    KzDxReferenceReader reader(&drawing, foreign_);
    KzDxUpdateState& state = graph_.updateState();
    const KzDxScopeGuard removeRead([&] { state.removeUpToDate(); }); // also if memory runs out
    for (KzDxBlock* const node : state.stale()) {
        if (node->isDue()) node->read(reader);
    }
    graph_.setNeedsScan(false);
    state.settle(!hasNodes_ || std::ranges::any_of(state.stale(), &KzDxBlock::isDue));
}

void KzDxDrawingScanner::clear() {
    records_.clear();
    layoutIds_.clear();
    foreign_.clear();
}
