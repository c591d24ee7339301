#pragma once

#include "blocks/block_nesting.h"
#include "blocks/id_set.h"
#include "blocks/node_list.h"
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
#include <memory>
#include <optional>
#include <vector>

class KzDxBlock;

/// What the next update has to read again. Each of them includes the ones before.
///
/// A node is stale when one of its objects told of an edit, or when it does not hear all of them; see
/// `KzDxBlock::isHardOfHearing`. The references that a record reports change only by edits of records, of
/// which the records tell, with one exception: those of attached drawings, which tell nobody here.
enum class KzDxReadingScope : std::uint8_t {
    nodes, ///< stale nodes, and nodes whose lists of references in other drawings differ: only references and
           ///< attributes were edited, so no block has got a reference and no record has come
    lists, ///< stale nodes, and nodes whose lists differ: a record was edited, or one came, or something
           ///< could not be looked at the last time
    everything, ///< every node: nobody listened
};

/// The block graph of one drawing: a node for each record of its block table, which knows where the
/// references of that block are placed.
///
/// While switched on, the graph follows the drawing. Edits only set marks: `needsScan` (something must be
/// read again) and `hasChanges` (some node changed and clients have not been told). `update` works them off,
/// at the document's next idle check or on request: it reads again what may have changed, marks every block
/// that lies inside a changed one, and calls each client callback of a changed block once.
///
/// How much an update reads depends on what the edits were; see `KzDxReadingScope`. What it finds is the same
/// as if it had read everything.
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

    /// The same, with the graph switched on if it can be.
    static Orvo::ErrorStatus createFollowing(KzDxBlocks*& graph, KzDxDocumentContext* document);

    /// Empties the graph and unregisters it from everything that can be opened. Works also when the document
    /// is gone. Graphs part by deferred deletion.
    ~KzDxBlocks() override;

    /// The host tells that the block table is about to change.
    void aboutToChange(const KzDbObject* table) override;

    // Emptying.

    /// Destroys the nodes and the timer; the graph then belongs to no document. The switch stays as it is.
    virtual void reset();

    // Questions (block_graph_queries.cpp). The library itself asks for the drawing alone; the others keep
    // their slots.

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

    /// Reads everything: lists the layouts, makes nodes for new records, and has every other node read its
    /// references again, each once. Clears `needsScan` everywhere. `missingCollaborator` without a drawing.
    virtual Orvo::ErrorStatus scanBlockTable();

    /// Calls the callbacks of all changed nodes, each once, and clears `hasChanges` everywhere, also where
    /// the callbacks' own edits set it. The callbacks are gathered first: one that is detached meanwhile is
    /// still called.
    virtual void notifyClients();

    /// Marks every block that lies, at any depth, inside a changed block. Does not mark the blocks around it.
    virtual void propagateChanges();

    /// Reads and propagates, and with `notify` calls clients. With `force` it reads everything, which heals
    /// what the host failed to tell; without, only what may have changed, and only while switched on and
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
    /// Adds the callbacks of all nodes to `clients`. Keeps its slot; nothing here calls it.
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

    /// Binds the graph to a document and builds it, as `create` does. Anew, when it was built before.
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

    /// The node of a record; null when it has none.
    [[nodiscard]] KzDxBlock* node(KzDbObjectId record) const;

    /// Begins to follow the drawing from its present state: what happened before is not reported. The status
    /// is that of `setEnabled`.
    Orvo::ErrorStatus startFollowing();

    /// The number of the latest reading, begun or done; no two readings of a graph share one.
    [[nodiscard]] std::uint32_t readingNumber() const { return readingNumber_; }

    /// Every node once, in the order of creation, and all keys with their nodes; for walks that do not call
    /// out.
    [[nodiscard]] const std::vector<std::unique_ptr<KzDxBlock, KzDxDeferredDeleter>>& nodes() const {
        return nodes_;
    }
    [[nodiscard]] const std::map<KzDbObjectId, KzDxBlock*>& blockMap() const { return blockMap_; }

    // For nodes.

    /// What they read their references with; made when it is wanted, and kept until a reading begins or ends.
    [[nodiscard]] KzDxReferenceReader& reader() { return reader_ ? *reader_ : reader_.emplace(*this); }
    void dropReader() noexcept { reader_.reset(); }
    /// A node may differ from the drawing; it has changed; it reports references that lie in other drawings.
    void nodeBecameStale(KzDxBlock& node) noexcept { stale_.add(node); }
    void nodeChanged(KzDxBlock& node) noexcept { changed_.add(node); }
    void nodeReportsElsewhere(KzDxBlock& node) noexcept { elsewhere_.add(node); }
    /// A record could not be joined.
    void recordIsUnheard() noexcept { areRecordsHeard_ = false; }
    /// A record may report other references than before, or may be another block's representation.
    void listsMayDiffer() noexcept;
    /// A node appeared in a container or vanished from one.
    void containersChanged(const KzDxBlock& node, const KzDxContainers& before) noexcept {
        nesting_.move(node, before);
    }
    /// Drops the keys and list entries of a node that did not come to be.
    void forgetNode(KzDxBlock& node) noexcept;

private:
    KzDxBlocks();

    // Building (block_graph.cpp).
    static Orvo::ErrorStatus make(KzDxBlocks*& graph, KzDxDocumentContext* document, bool follows);
    [[nodiscard]] Orvo::ErrorStatus bind(KzDxDocumentContext* document);
    void build();

    // Reading (block_graph_scan.cpp).
    class Walk;
    void beginReading();
    void readChanged();
    void readAfter(Walk& walk, const KzDbDatabase& drawing);
    [[nodiscard]] bool isTableAsWalked(const KzDbDatabase& drawing) const;
    void lookElsewhere();
    void compareLists(KzDxBlock& node, Orvo::ErrorStatus asked);
    [[nodiscard]] bool updateAttachments();
    void readStaleNodes();
    [[nodiscard]] bool mayStaleNodesRepresent() const;
    void settleScope();

    // Following (block_graph_following.cpp).
    void follow(const KzDbBlockTable& table, KzDbObjectId tableId);
    void stopFollowing(const KzDbBlockTable& table);
    void enableTimer();
    void disableTimer();
    void setNodesEnabled(bool enable);
    [[nodiscard]] bool leaveHost() noexcept override;

    // Updating (block_graph_update.cpp).
    void gatherChangedClients(Clients& due) const;
    void clearChangedNodes();

    [[nodiscard]] KzDxBlockNesting& builtNesting();
    [[nodiscard]] std::uint32_t countNested(const KzDxBlock& node, KzDbObjectId container,
                                            KzDxIdSet& counted);

    /// A record that stood for an attached drawing when it came, and the drawing that it stands for now, if
    /// any; that is compared, never touched.
    struct Attachment {
        KzDbObjectId record;
        const KzDbDatabase* drawing = nullptr;
    };

    KzDxDocumentContext* document_ = nullptr;
    std::vector<std::unique_ptr<KzDxBlock, KzDxDeferredDeleter>> nodes_;
    std::map<KzDbObjectId, KzDxBlock*> blockMap_; ///< an index: every key with its node
    KzDbObjectIdArray layoutIds_;
    KzDbObjectId modelSpaceId_;
    bool needsScan_ = true;
    bool hasChanges_ = false;
    std::optional<KzDxTimer> timer_; // in place: it needs no memory
    /// The block table that the graph is reactor of; null when it is reactor of none.
    KzDbObjectId watchedTable_;

    /// What the next update reads. Lowered only by a reading that went through.
    KzDxReadingScope scope_ = KzDxReadingScope::everything;
    KzDxNodeList stale_{KzDxNodeMark::stale};
    KzDxNodeList changed_{KzDxNodeMark::changed};
    KzDxNodeList elsewhere_{KzDxNodeMark::elsewhere};
    std::vector<Attachment> attachments_; ///< in table order
    /// Whether every record of a node is heard. An unheard one may take in references, or come back, without
    /// a word. Found out at switching on.
    bool areRecordsHeard_ = true;
    /// The last walk over the block table: its number, and whether it came by everything.
    std::uint32_t walkNumber_ = 0;
    std::uint32_t readingNumber_ = 0;
    bool isWalkComplete_ = false;

    std::optional<KzDxReferenceReader> reader_;
    KzDxBlockNesting nesting_;
    KzDxLife life_;
};
