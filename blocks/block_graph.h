#pragma once

#include "blocks/block_nesting.h"
#include "blocks/drawing_scanner.h"
#include "blocks/id_set.h"
#include "blocks/node_store.h"
#include "blocks/update_state.h"
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
#include <optional>

class KzDxBlock;
class KzDxDocument;

/// The block graph of one drawing: a node for each block and layout, with the placements of its references.
/// Owned by the document data.
///
/// While switched on, the graph observes the drawing. Edits only set dirty state: `needsScan` (a part must
/// be read again) and `hasChanges` (a node changed and clients have not been notified). `update` processes
/// the dirty state, at the document's next idle check or on request: it reads the parts that may have
/// changed, marks every block that is nested in a changed block, and calls each client callback of a
/// changed block once.
///
/// Updates are incremental and exact: the result is the same as that of reading everything.
/// `KzDxUpdateState` and `KzDxDrawingScanner` decide what an update reads.
///
/// All ids and callbacks are in ascending order. Client callbacks may re-enter and may destroy the graph.
///
/// In this folder "graph" means this class, and "node" `KzDxBlock`. The virtual operations are called by
/// slot: their order is fixed.
class KzDxBlocks : public KzDbObjectReactor,
                   public KzDxEnableBase,
                   public KzDxTimerReactor,
                   public KzDxDeferredDeletion {
public:
    using Clients = KzDxCallSet<KzDxClientCallback>;

    /// Creates the graph of a document and builds it, switched off. On failure `graph` is null:
    /// `missingCollaborator` without a document or a drawing, otherwise the status of the block table or of
    /// its model-space record.
    static Orvo::ErrorStatus create(KzDxBlocks*& graph, KzDxDocument* document);

    /// The same, switched on as by `scanAndEnable` if possible. Each reference is opened once.
    static Orvo::ErrorStatus createEnabled(KzDxBlocks*& graph, KzDxDocument* document);

    /// Empties the graph and unregisters it from everything that can be opened. Works also if the document
    /// no longer exists. Graphs are removed by deferred deletion.
    ~KzDxBlocks() override;

    /// Notification: the block table is about to change.
    void aboutToChange(const KzDbObject* table) override;

    // Emptying.

    /// Deletes the nodes and the timer; the graph then belongs to no document. Does not change whether it
    /// is switched on.
    virtual void reset();

    // Queries (block_graph_queries.cpp). The module itself uses `database`; the others are not called here.

    /// The drawing; null without a document.
    [[nodiscard]] virtual KzDbDatabase* database() const;

    /// The number of references of `block` in `container`. With `nested`, references inside blocks that are
    /// themselves placed directly in the container count as often as those; not deeper. A block of `counted`
    /// counts nothing; the block is added to it if `nested`.
    virtual std::uint32_t countReferences(KzDbObjectId block, KzDbObjectId container, bool nested,
                                          KzDxIdSet& counted);
    virtual std::uint32_t countReferencesIn(KzDbObjectId block, KzDbObjectId container, bool nested);
    /// The sum over all layouts, or over model space only.
    virtual std::uint32_t countReferencesInLayouts(KzDbObjectId block, bool modelSpaceOnly, bool nested);

    /// Adds to `found` the blocks that have references in `block`; with `recursive`, at any depth. Blocks of
    /// `visited` are not searched; those that were searched are added to it. Always `ok`.
    virtual Orvo::ErrorStatus collectNestedBlocks(KzDbObjectId block, bool recursive, KzDxIdSet& found,
                                                  KzDxIdSet& visited);
    virtual Orvo::ErrorStatus getNestedBlocks(KzDbObjectId block, bool recursive, KzDxIdSet& found);

    // Observing the drawing (block_graph_update.cpp).

    /// Reads everything: lists the layouts, creates nodes for new records, and reads the references of
    /// every other node again, each once. Clears `needsScan` of the graph and of all nodes.
    /// `missingCollaborator` without a drawing.
    virtual Orvo::ErrorStatus scanBlockTable();

    /// Calls the callbacks of all changed nodes, each once, and clears `hasChanges` of the graph and of all
    /// nodes, also if the callbacks' own edits set it. The callbacks are collected first: a callback that
    /// is detached meanwhile is still called.
    virtual void notifyClients();

    /// Marks every block that is nested, at any depth, in a changed block as changed. Does not mark
    /// ancestors.
    virtual void propagateChanges();

    /// Scans and propagates, and with `notify` calls clients. With `force`, reads everything, which repairs
    /// missed notifications; without, reads only what may have changed, and only if the graph is switched
    /// on and dirty.
    virtual void update(bool force, bool notify);

    [[nodiscard]] virtual bool needsScan() const { return needsScan_; }
    /// Clearing clears the mark of every node as well.
    virtual void setNeedsScan(bool value);

    [[nodiscard]] virtual bool hasChanges() const { return hasChanges_; }
    /// Clearing clears the mark of every node as well.
    virtual void setHasChanges(bool value);

    // Clients (block_graph_clients.cpp).

    /// Registers a callback on the nodes of `blocks`, on all or, if memory runs out, on none; ids without a
    /// node are skipped. `missingCollaborator` for a null callback.
    virtual Orvo::ErrorStatus addClient(KzDxClientCallback callback, const KzDbObjectIdArray& blocks);
    virtual void removeClient(KzDxClientCallback callback);
    /// Adds the callbacks of all nodes to `clients`. Not called here.
    virtual Orvo::ErrorStatus getClients(Clients& clients) const;
    /// Whether any node has a callback. Does not allocate.
    [[nodiscard]] bool hasClients() const;

    // For nodes.

    /// The first record of this drawing that represents the attached drawing that contains `id`. Null for
    /// an id of this drawing, and if there is no such record. O(records before it).
    [[nodiscard]] virtual KzDbObjectId xrefBlockOf(KzDbObjectId id) const;

    /// Adds another key for a node, unless the key exists.
    virtual void addBlockAlias(KzDbObjectId key, KzDxBlock* node);

    // Building.

    /// Assigns the graph to a document and builds it, as `create` does; from scratch if it was built
    /// before.
    virtual Orvo::ErrorStatus init(KzDxDocument* document);

    /// Creates the node of an open record and reads it. `alreadyPresent` if the record is a key,
    /// `missingCollaborator` for null.
    virtual Orvo::ErrorStatus addBlock(KzDxBlock*& node, KzDbBlockTableRecord* record);

    /// Starts or stops observing the drawing: registers with the block table, or unregisters, and switches
    /// nodes and timer. `missingCollaborator` without a drawing, or the status of opening the block table;
    /// then it had no effect.
    Orvo::ErrorStatus setEnabled(bool enable) override;

    /// The timer's notification: `update(false, true)`.
    void timerElapsed() override;

    /// Starts observing the drawing: earlier edits are not reported. The status is that of `setEnabled`.
    Orvo::ErrorStatus scanAndEnable();

    /// The ids of the records that are layouts, in table order, as of the last scan.
    [[nodiscard]] const KzDbObjectIdArray& layoutIds() const { return scanner_.layoutIds(); }

    /// The node of a record; null if it has none.
    [[nodiscard]] KzDxBlock* node(KzDbObjectId record) const { return store_.find(record); }

    /// Every node once, in the order of creation, and all keys with their nodes; for walks that do not call
    /// out.
    [[nodiscard]] const KzDxNodeStore::Nodes& nodes() const { return store_.nodes(); }
    [[nodiscard]] const KzDxNodeStore::Keys& blockMap() const { return store_.keys(); }

    // For nodes and the scanner.

    [[nodiscard]] KzDxUpdateState& updateState() { return state_; }
    [[nodiscard]] KzDxBlockNesting& nesting() { return nesting_; }
    /// Creates the node of an open record, switched on if the graph is. The node is stale, so the next
    /// reading phase reads it. The status is that of `addBlock`.
    [[nodiscard]] Orvo::ErrorStatus addNode(KzDxBlock*& node, KzDbBlockTableRecord& record);

private:
    KzDxBlocks();

    // Building (block_graph.cpp).
    [[nodiscard]] Orvo::ErrorStatus bind(KzDxDocumentContext* document);
    void buildEnabled(const KzDbDatabase& drawing);

    // Switching and updating (block_graph_update.cpp).
    Orvo::ErrorStatus switchEnabled(bool enable);
    void switchOn(const KzDbBlockTable& table, KzDbObjectId tableId);
    void switchOff(const KzDbBlockTable& table);
    void enableTimer();
    void setNodesEnabled(bool enable);
    [[nodiscard]] bool tryUnregister() noexcept override;
    void requestFullScan() noexcept;

    [[nodiscard]] KzDxBlockNesting& currentNesting();
    [[nodiscard]] std::uint32_t countNested(const KzDxBlock& node, KzDbObjectId container,
                                            KzDxIdSet& counted);

    KzDxDocumentContext* document_ = nullptr;
    KzDxNodeStore store_;
    KzDbObjectId modelSpaceId_;
    bool needsScan_ = true;
    bool hasChanges_ = false;
    std::optional<KzDxTimer> timer_; // in place, so that creating it does not allocate
    /// The block table of which the graph is a reactor; null if there is none.
    KzDbObjectId watchedTable_;

    KzDxUpdateState state_;
    KzDxDrawingScanner scanner_{*this};
    KzDxBlockNesting nesting_;
    KzDxLife life_;
};
