#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/block_representation.h"
#include "core/block_table_walk.h"
#include "core/deferred_deletion.h"

#include <algorithm>
#include <utility>
#include <vector>

/// One walk over the block table. It makes nodes for new records, and finds out which nodes have to be read:
/// all, or those that are stale or whose records report other references than before.
///
/// Reading comes after the walk, so that a node is read once, however many of its records the table holds.
/// The walk itself changes only which nodes there are and under which keys; reading changes neither.
class KzDxBlocks::Walk {
public:
    Walk(KzDxBlocks& graph, bool readsEverything) : graph_(graph), readsEverything_(readsEverything) {}

    void run(const KzDbDatabase& drawing) {
        graph_.layoutIds_.clear();
        ++graph_.walkNumber_;
        const bool isWalked = kzdxForEachRecordId(drawing, [this](KzDbObjectId id) {
            visit(id);
            return true;
        });
        isComplete_ &= isWalked;
        for (KzDxBlock* const node : ofManyRecords_) {
            graph_.compareLists(*node, graph_.reader().ask(node->recordIds()));
        }
    }

    /// Whether it came by everything, so that an edit is needed to make the next walk find anything else.
    [[nodiscard]] bool isComplete() const { return isComplete_; }

private:
    void visit(KzDbObjectId id) {
        const KzDxOpened<KzDbBlockTableRecord> record(id);
        if (!record) {
            isComplete_ = false; // held open: nobody tells when it is let go
            return;
        }
        if (record->isLayout()) graph_.layoutIds_.append(id);
        const bool isAnonymous = record->isAnonymous();
        const KzDbObjectId key = isAnonymous ? keyOfAnonymous(id, *record.get()) : id;
        KzDxBlock* node = nodeOf(key);
        if (node != nullptr) {
            meet(*node, id, *record.get());
        } else {
            if (key != id) isComplete_ = false; // the block's node may come later in the table
            node = add(*record.get());
            if (node == nullptr) return;
        }
        if (isAnonymous) node->setHasAnonymousRecord();
    }

    /// The block that an anonymous record stands for: the enhanced block that it represents, as the first of
    /// its references to carry the protocol tells; else itself.
    KzDbObjectId keyOfAnonymous(KzDbObjectId id, const KzDbBlockTableRecord& record) {
        KzDbObjectIdArray references;
        if (record.getBlockReferenceIds(references, true, true) != Orvo::ok) isComplete_ = false;
        for (const KzDbObjectId each : references) {
            const KzDxOpened<KzDbBlockReference> reference(each, KzDb::OpenMode::forNotify, true);
            if (!reference) {
                isComplete_ = false; // as above
                continue;
            }
            const KzDbBlockRepresentation* const protocol =
                asBlockRepresentation(reference->queryX(KzDbBlockRepresentation::desc()));
            if (protocol == nullptr) continue;
            const KzDbObjectId original = protocol->originalBlockTableRecord(reference.get());
            return original.isNull() ? id : original;
        }
        return id;
    }

    /// The node under a key. Nodes are made in the order of the table, so it is mostly the one after the last
    /// found, or, where records have gone, one soon after it.
    KzDxBlock* nodeOf(KzDbObjectId key) {
        constexpr std::size_t soon = 8;
        const auto& nodes = graph_.nodes_;
        const std::size_t end = std::min(nodes.size(), expected_ + soon);
        std::size_t at = expected_;
        while (at < end && nodes[at]->id() < key) ++at;
        if (at == end || nodes[at]->id() != key) return graph_.node(key);
        expected_ = at + 1;
        return nodes[at].get();
    }

    /// A record whose node cannot be made is passed over, and so is one that leads to a block without a node
    /// but has one of its own.
    KzDxBlock* add(KzDbBlockTableRecord& record) {
        graph_.attachments_.reserve(graph_.attachments_.size() + 1); // a node that is there is complete
        KzDxBlock* node = nullptr;
        if (graph_.addBlock(node, &record) != Orvo::ok) {
            isComplete_ = false;
            return nullptr;
        }
        node->setLastWalk(graph_.walkNumber_);
        if (record.isDependent()) graph_.elsewhere_.add(*node);
        if (record.isFromExternalReference()) graph_.attachments_.push_back({node->id(), nullptr});
        return node;
    }

    void meet(KzDxBlock& node, KzDbObjectId id, const KzDbBlockTableRecord& record) {
        const bool isFirstMeeting = node.lastWalk() != graph_.walkNumber_;
        // A node that no record led to was not read, whatever it heard.
        const bool wasMetBefore = node.lastWalk() + 1 == graph_.walkNumber_;
        node.setLastWalk(graph_.walkNumber_);
        if (node.listRecord(id)) node.becomeStale();
        if (isFirstMeeting && (readsEverything_ || !wasMetBefore)) node.becomeStale();
        if (!isFirstMeeting || node.isStale()) return;
        if (node.recordIds().length() > 1) {
            ofManyRecords_.push_back(&node);
            return;
        }
        graph_.compareLists(node, graph_.reader().ask(record));
    }

    KzDxBlocks& graph_;
    const bool readsEverything_;
    bool isComplete_ = true;
    std::size_t expected_ = 0;              ///< the node after the last found
    std::vector<KzDxBlock*> ofManyRecords_; ///< asked after the walk, when all their records are known
};

Orvo::ErrorStatus KzDxBlocks::scanBlockTable() {
    const KzDbDatabase* const drawing = database();
    if (drawing == nullptr) return Orvo::missingCollaborator;
    Walk walk(*this, true);
    readAfter(walk, *drawing);
    return Orvo::ok;
}

/// The update of a graph that has listened: reads what can have changed since the last reading.
void KzDxBlocks::readChanged() {
    const KzDbDatabase* const drawing = database();
    if (drawing == nullptr) return;
    if (scope_ == KzDxReadingScope::nodes && isTableAsWalked(*drawing)) {
        beginReading();
        lookElsewhere();
        readStaleNodes();
        if (mayStaleNodesRepresent()) listsMayDiffer();
        return;
    }
    Walk walk(*this, scope_ == KzDxReadingScope::everything);
    readAfter(walk, *drawing);
}

void KzDxBlocks::beginReading() {
    ++readingNumber_;
    KzDxDeferredDeletion::retryAll();
    dropReader();
}

void KzDxBlocks::readAfter(Walk& walk, const KzDbDatabase& drawing) {
    beginReading();
    // Until all of it has gone through: the nodes that the walk does not come by count as met by no record.
    listsMayDiffer();
    walk.run(drawing);
    isWalkComplete_ = walk.isComplete();
    lookElsewhere();
    readStaleNodes();
    settleScope();
}

/// Reads the nodes that some record leads to. A stale node that no record leads to is not read, whatever it
/// heard, and will be as soon as one leads to it again.
void KzDxBlocks::readStaleNodes() {
    stale_.workOff([this](KzDxBlock& node) {
        if (node.lastWalk() != walkNumber_) {
            node.setNeedsScan(false);
            return true;
        }
        return node.read() == Orvo::ok && !node.isHardOfHearing();
    });
    dropReader();
    setNeedsScan(false);
}

/// Finds out which nodes have to be read because of attached drawings. Edits there tell nobody here; and
/// which record stands for a drawing decides where the references in its model space are placed.
void KzDxBlocks::lookElsewhere() {
    if (!updateAttachments()) {
        // At once, before anything can fail: the next time they will be the same.
        for (KzDxBlock* const node : elsewhere_) {
            if (node->hasTranslated()) node->becomeStale();
        }
    }
    for (KzDxBlock* const node : elsewhere_) {
        if (!node->isStale()) compareLists(*node, reader().ask(node->recordIds()));
    }
}

/// Has a node read whose records report other references than are filed, or did not answer. That it is listed
/// without a mark of its own means that only references that have come are opened.
void KzDxBlocks::compareLists(KzDxBlock& node, Orvo::ErrorStatus asked) {
    if (asked != Orvo::ok || !reader().isAsReported(node.containers())) stale_.add(node);
}

/// Looks again which drawing each record stands for that stood for one when it came. Whether they are the
/// same.
bool KzDxBlocks::updateAttachments() {
    bool areTheSame = true;
    for (Attachment& each : attachments_) {
        const KzDxOpened<KzDbBlockTableRecord> record(each.record);
        const bool isAttachment = record && record->isFromExternalReference();
        const KzDbDatabase* const drawing = isAttachment ? record->xrefDatabase(false) : nullptr;
        if (std::exchange(each.drawing, drawing) != drawing) areTheSame = false;
    }
    return areTheSame;
}

/// Whether every record of a short table has a node. One that was erased before it got one comes back without
/// a word: nobody is registered on it. In a long table such a record waits for the next walk, because looking
/// at every record would cost more than all the rest of the update.
bool KzDxBlocks::isTableAsWalked(const KzDbDatabase& drawing) const {
    constexpr std::size_t shortTable = 256;
    if (nodes_.size() > shortTable) return true;
    bool areAllKnown = true;
    const bool isWalked = kzdxForEachRecordId(drawing, [&](KzDbObjectId id) {
        areAllKnown = blockMap_.contains(id);
        return areAllKnown;
    });
    return isWalked && areAllKnown;
}

/// Whether a reference that is not heard may decide which block an anonymous record represents.
bool KzDxBlocks::mayStaleNodesRepresent() const {
    return std::ranges::any_of(stale_, [](const KzDxBlock* node) { return node->hasAnonymousRecord(); });
}

/// Finds out how far the next update must reach when nothing but references and attributes will be edited.
void KzDxBlocks::settleScope() {
    const bool areListsKnown = isWalkComplete_ && areRecordsHeard_ && !mayStaleNodesRepresent();
    scope_ = areListsKnown ? KzDxReadingScope::nodes : KzDxReadingScope::lists;
}
