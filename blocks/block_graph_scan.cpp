#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/block_representation.h"
#include "core/block_table_walk.h"
#include "core/deferred_deletion.h"

#include <algorithm>
#include <functional>
#include <vector>

/// One walk over the block table, and after it the reading of all nodes that the walk came by.
///
/// Reading comes last so that a node is read once, however many of its records the table holds. The walk
/// itself changes only which nodes there are and under which keys; reading changes neither.
class KzDxBlocks::Scan {
public:
    explicit Scan(KzDxBlocks& graph) : graph_(graph), expected_(graph.blockMap_.begin()) {}

    void walk(const KzDbDatabase& drawing) {
        kzdxForEachRecordId(drawing, [this](KzDbObjectId id) {
            const KzDxOpened<KzDbBlockTableRecord> record(id);
            if (record) visit(id, *record.get());
            return true;
        });
    }

    void readNodes() {
        std::ranges::sort(nodes_, std::less<>());
        nodes_.erase(std::unique(nodes_.begin(), nodes_.end()), nodes_.end());
        for (KzDxBlock* const node : nodes_) static_cast<void>(node->readAgain());
    }

private:
    using BlockMap = std::map<KzDbObjectId, KzDxBlock*>;

    void visit(KzDbObjectId id, KzDbBlockTableRecord& record) {
        if (record.isLayout()) graph_.layoutIds_.append(id);
        KzDbObjectId key = id;
        if (record.isAnonymous()) {
            const KzDbObjectId original = graph_.originalBlockOf(record);
            if (!original.isNull()) key = original;
        }
        KzDxBlock* node = nodeOf(key);
        if (node == nullptr) {
            static_cast<void>(
                graph_.addBlock(node, &record)); // a record whose node cannot be made is passed over
        } else if (node->listRecord(id) || !node->wasReadIn(graph_.scanNumber_)) {
            nodes_.push_back(node);
        }
    }

    /// The node under a key. Most tables are in the order of ids, where it is the one after the last found.
    KzDxBlock* nodeOf(KzDbObjectId key) {
        const BlockMap& blocks = graph_.blockMap_;
        if (expected_ == blocks.end() || expected_->first != key) expected_ = blocks.find(key);
        return expected_ == blocks.end() ? nullptr : (expected_++)->second;
    }

    KzDxBlocks& graph_;
    BlockMap::const_iterator expected_; ///< keys are added during a scan, never removed
    /// The nodes to read, some of them repeatedly; not those that the walk has made, which have just been
    /// read.
    std::vector<KzDxBlock*> nodes_;
};

Orvo::ErrorStatus KzDxBlocks::scanBlockTable() {
    const KzDbDatabase* const drawing = database();
    if (drawing == nullptr) return Orvo::missingCollaborator;
    KzDxDeferredDeletion::retryAll();
    layoutIds_.clear();
    ++scanNumber_;
    reader_.forgetDrawings();
    Scan scan(*this);
    scan.walk(*drawing);
    scan.readNodes();
    reader_.release();
    setNeedsScan(false);
    return Orvo::ok;
}

/// The enhanced block that an anonymous record represents: the first of its references to carry the protocol
/// tells. Null when none does.
KzDbObjectId KzDxBlocks::originalBlockOf(const KzDbBlockTableRecord& record) const {
    KzDbObjectIdArray references;
    static_cast<void>(record.getBlockReferenceIds(references, true, true));
    for (const KzDbObjectId id : references) {
        const KzDxOpened<KzDbBlockReference> reference(id, KzDb::OpenMode::forNotify, true);
        if (!reference) continue;
        const KzDbBlockRepresentation* const protocol =
            asBlockRepresentation(reference->queryX(KzDbBlockRepresentation::desc()));
        if (protocol != nullptr) return protocol->originalBlockTableRecord(reference.get());
    }
    return {};
}
