#pragma once

#include "blocks/block_nesting.h"
#include "blocks/id_set.h"
#include "blocks/reference_reader.h"
#include "core/call_set.h"
#include "core/deferred_deletion.h"
#include "core/document_context.h"
#include "core/enable_base.h"
#include "core/life.h"
#include "host/block_table.h"
#include "host/object_reactor.h"
#include "timers/timer.h"
#include "zelvane/zelvane.h"

#include <cstdint>
#include <map>
#include <optional>

class KzDxBlock;

/// The block graph of one drawing: a node for each record of its block table, which knows where the
/// references of that block are placed.
///
/// While switched on, the graph follows the drawing. Edits only set marks: `needsScan` (something must be
/// read again) and `hasChanges` (some node changed and clients have not been told). `update` works them off,
/// at the document's next idle check or on request: it scans the block table, marks every block that lies
/// inside a changed one, and calls each client callback of a changed block once.
///
/// Nodes are owned, and live until the graph is emptied. A node is keyed by its record, and an enhanced
/// block's node also by each record that represents the block; no key leads to a null node. Ids and callbacks
/// come in ascending order everywhere.
///
/// A client callback may do anything, destroying the graph included.
///
/// In this folder "graph" means this class, and "node" `KzDxBlock`. The virtual operations are called by
/// slot: their order is fixed.
class KzDxBlocks : public KzDbObjectReactor,
                   public KzDxEnableBase,
                   public KzDxTimerReactor,
                   public KzDxDeferredDeletion {
public:
    using Clients = KzDxCallSet<KzDxClientCallback>;

    /// Makes the graph of a document and builds it, switched off. On failure `graph` is null:
    /// `missingCollaborator` without a document or a drawing, else the status of the block table or of its
    /// model-space record.
    static Orvo::ErrorStatus create(KzDxBlocks*& graph, KzDxDocumentContext* document);

    /// Empties the graph and unregisters it from everything that can be opened. Works also when the document
    /// is gone. Graphs part by deferred deletion.
    ~KzDxBlocks() override;

    /// The host tells that the block table is about to change.
    void aboutToChange(const KzDbObject* table) override;

    // Emptying.

    /// Destroys the nodes and the timer; the graph then belongs to no document. The switch stays as it is.
    virtual void reset();

    // Questions (block_graph_queries.cpp).

    /// The drawing; null without a document.
    [[nodiscard]] virtual KzDbDatabase* database() const;

    /// The number of references of `block` in `container`. With `nested`, references inside blocks that are
    /// themselves placed directly in the container count as often as those; not deeper. A block of `counted`
    /// counts nothing; the block is added to it when `nested`.
    virtual std::uint32_t countReferences(KzDbObjectId block, KzDbObjectId container, bool nested,
                                          KzDxIdSet& counted);
    virtual std::uint32_t countReferencesIn(KzDbObjectId block, KzDbObjectId container, bool nested);
    /// The sum over all layouts, or over model space only.
    virtual std::uint32_t countReferencesInLayouts(KzDbObjectId block, bool modelSpaceOnly, bool nested);

    /// Adds to `found` the blocks that have references in `block`; with `recursive`, at any depth. Blocks of
    /// `visited` are not looked into; those that were are added to it. Always `ok`.
    virtual Orvo::ErrorStatus collectNestedBlocks(KzDbObjectId block, bool recursive, KzDxIdSet& found,
                                                  KzDxIdSet& visited);
    virtual Orvo::ErrorStatus getNestedBlocks(KzDbObjectId block, bool recursive, KzDxIdSet& found);

    // Following the drawing.

    /// Reads the whole block table: lists the layouts, makes nodes for new records, and has every other node
    /// read its references again, each once. Clears `needsScan` everywhere. `missingCollaborator` without a
    /// drawing.
    virtual Orvo::ErrorStatus scanBlockTable();

    /// Calls the callbacks of all changed nodes, each once, and clears `hasChanges` everywhere, also where
    /// the callbacks' own edits set it. The callbacks are gathered first: one that is detached meanwhile is
    /// still called.
    virtual void notifyClients();

    /// Marks every block that lies, at any depth, inside a changed block. Does not mark the blocks around it.
    virtual void propagateChanges();

    /// Scans and propagates, and with `notify` calls clients. Without `force`, only while switched on and
    /// marked.
    virtual void update(bool force, bool notify);

    [[nodiscard]] virtual bool needsScan() const { return needsScan_; }
    /// Clearing clears the mark of every node as well.
    virtual void setNeedsScan(bool value);

    [[nodiscard]] virtual bool hasChanges() const { return hasChanges_; }
    /// Clearing clears the mark of every node as well.
    virtual void setHasChanges(bool value);

    // Clients.

    /// Registers a callback on the nodes of `blocks`, on all or, when memory runs out, on none; ids without a
    /// node are passed over. `missingCollaborator` for a null callback.
    virtual Orvo::ErrorStatus addClient(KzDxClientCallback callback, const KzDbObjectIdArray& blocks);
    virtual void removeClient(KzDxClientCallback callback);
    /// Adds the callbacks of all nodes to `clients`.
    virtual Orvo::ErrorStatus getClients(Clients& clients) const;
    /// Whether any node has a callback; needs no memory.
    [[nodiscard]] bool hasClients() const;

    // What nodes ask of the graph.

    /// The record of this drawing that stands for the attached drawing which holds `id`. Null for an id of
    /// this drawing, and when there is no such record.
    [[nodiscard]] virtual KzDbObjectId xrefBlockOf(KzDbObjectId id) const;

    /// Enters a further key for a node, unless the key leads to a node already.
    virtual void addBlockAlias(KzDbObjectId key, KzDxBlock* node);

    // Building.

    /// Binds the graph to its document and builds it; see `create`.
    virtual Orvo::ErrorStatus init(KzDxDocumentContext* document);

    /// Makes the node of an open record. `alreadyPresent` when the record is a key, `missingCollaborator` for
    /// null.
    virtual Orvo::ErrorStatus addBlock(KzDxBlock*& node, KzDbBlockTableRecord* record);

    /// Starts or stops to follow the drawing: registers with the block table and switches nodes and timer.
    /// `missingCollaborator` without a drawing, or the status of opening the block table, with nothing
    /// changed.
    Orvo::ErrorStatus setEnabled(bool enable) override;

    /// The timer's: `update(false, true)`.
    void timerElapsed() override;

    /// The ids of the records that are layouts, in table order, as of the last scan.
    [[nodiscard]] const KzDbObjectIdArray& layoutIds() const { return layoutIds_; }
    [[nodiscard]] KzDbObjectId modelSpaceId() const { return modelSpaceId_; }

    /// The node of a record; null when it has none.
    [[nodiscard]] KzDxBlock* node(KzDbObjectId record) const;

    /// All keys with their nodes, for walks that do not call out.
    [[nodiscard]] const std::map<KzDbObjectId, KzDxBlock*>& blockMap() const { return blockMap_; }

    /// For nodes: what they read their references with.
    [[nodiscard]] KzDxReferenceReader& reader() { return reader_; }
    /// For nodes: the number of the latest scan, begun or done; no two scans of a graph share one.
    [[nodiscard]] std::uint32_t scanNumber() const { return scanNumber_; }
    /// For nodes: a node appeared in a container or vanished from one.
    void containersChanged() { nesting_.outdate(); }

private:
    KzDxBlocks();

    // Scanning (block_graph_scan.cpp).
    class Scan;
    [[nodiscard]] KzDbObjectId originalBlockOf(const KzDbBlockTableRecord& record) const;

    // Following (block_graph_changes.cpp).
    void follow(const KzDbBlockTable& table, KzDbObjectId tableId);
    void stopFollowing(const KzDbBlockTable& table);
    void enableTimer();
    void disableTimer();
    void setNodesEnabled(bool enable);
    [[nodiscard]] bool leaveHost() noexcept override;
    void gatherChangedClients(Clients& due) const;

    [[nodiscard]] KzDxBlockNesting& builtNesting();
    [[nodiscard]] std::uint32_t countNested(const KzDxBlock& node, KzDbObjectId container,
                                            KzDxIdSet& counted);

    KzDxDocumentContext* document_ = nullptr;
    std::map<KzDbObjectId, KzDxBlock*> blockMap_;
    KzDbObjectIdArray layoutIds_;
    KzDbObjectId modelSpaceId_;
    bool needsScan_ = true;
    bool hasChanges_ = false;
    std::optional<KzDxTimer> timer_; // in place: it needs no memory
    /// The block table that the graph is reactor of; null when it is reactor of none.
    KzDbObjectId watchedTable_;
    std::uint32_t scanNumber_ = 0;
    KzDxReferenceReader reader_{*this};
    KzDxBlockNesting nesting_;
    KzDxLife life_;
};
