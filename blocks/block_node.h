#pragma once

#include "blocks/containers.h"
#include "blocks/id_set.h"
#include "blocks/watched_attributes.h"
#include "core/call_set.h"
#include "core/deferred_deletion.h"
#include "core/enable_base.h"
#include "host/block_table.h"
#include "host/object_reactor.h"
#include "zelvane/zelvane.h"

#include <cstdint>
#include <span>
#include <vector>

class KzDxBlocks;
class KzDxReferenceReader;

/// One block definition of a drawing, as a node of the block graph: where its references are placed, whether
/// it changed, and who wants to know.
///
/// While switched on, the node is reactor of its records, of its references and of their attributes. What it
/// hears only sets two marks, on the node and on the graph: the block must be read again (`needsScan`), and
/// it changed in a way that clients have not been told of (`hasChanges`). The graph reads it again later.
///
/// An enhanced block's node also stands for the anonymous records that represent it: their references count
/// as references of the block.
///
/// The virtual operations are called by slot: their order is fixed.
///
/// Made by `create`, parts by deferred deletion, both called by the graph that owns the node.
class KzDxBlock : public KzDbObjectReactor, public KzDxEnableBase, public KzDxDeferredDeletion {
public:
    using Clients = KzDxCallSet<KzDxClientCallback>;

    /// Makes the node of a record, which is open, and reads it. On failure `node` is null:
    /// `missingCollaborator` for a null argument, else the status of the first reading. The graph then enters
    /// the node under the keys of all its records and switches it as itself; it never holds a key of a node
    /// that did not come to be.
    static Orvo::ErrorStatus create(KzDxBlock*& node, KzDxBlocks* owner, KzDbBlockTableRecord* record);

    ~KzDxBlock() override;

    // What the host tells; nothing is opened here.
    void copied(const KzDbObject* object, const KzDbObject* copy) override;
    void goodbye(const KzDbObject* object) override;
    void aboutToChange(const KzDbObject* object) override;

    /// Takes `record` among the node's records if it is not there yet, and reads the references of all of
    /// them again. Files them by container, marks a change when one is new or gone or a container appeared or
    /// lost its last one, and, while switched on, registers with new references; it always unregisters from
    /// references that are gone.
    ///
    /// `missingCollaborator` without a graph, `invalidObjectId` for a null record, or the status of a record
    /// that did not open or answer; then nothing has changed but the list of records.
    virtual Orvo::ErrorStatus evaluate(KzDbObjectId record);

    /// `evaluate` for the node's own record.
    virtual Orvo::ErrorStatus refresh();

    [[nodiscard]] virtual const KzDxContainers& containers() const { return containers_; }

    [[nodiscard]] virtual bool needsScan() const { return needsScan_; }
    /// Setting tells the graph first, and has no effect without one; clearing does not tell it.
    virtual void setNeedsScan(bool value);

    [[nodiscard]] virtual bool hasChanges() const { return hasChanges_; }
    /// Like `setNeedsScan`.
    virtual void setHasChanges(bool value);

    /// The callbacks of this block, not owned, in ascending order of address.
    [[nodiscard]] virtual const Clients& clients() const { return clients_; }
    /// A null callback is ignored. Allocates nothing right after `makeRoomForClient`.
    virtual void addClient(KzDxClientCallback callback);
    virtual void removeClient(KzDxClientCallback callback);

    /// Registers with every object of the node, or unregisters. The flag is stored in any case;
    /// `invalidObjectId` when the node's record cannot be registered with, or the status of the first record
    /// that does not open, after which no further record is tried.
    Orvo::ErrorStatus setEnabled(bool enable) override;

    /// The node's own record.
    [[nodiscard]] KzDbObjectId id() const { return id_; }

    /// All records whose references make up the block, the own one first.
    [[nodiscard]] const KzDbObjectIdArray& recordIds() const { return recordIds_; }

    /// The first half of `evaluate`: takes a record among the node's records, with its key in the graph.
    /// False when it was there already.
    bool listRecord(KzDbObjectId record);

    /// The second half of `evaluate`: reads all records again.
    Orvo::ErrorStatus readAgain();

    void makeRoomForClient() { clients_.makeRoomForOne(); }

    /// Whether the node was read in the scan of that number; see `KzDxBlocks::scanNumber`.
    [[nodiscard]] bool wasReadIn(std::uint32_t scan) const { return lastScan_ == scan; }

private:
    KzDxBlock() = default;

    Orvo::ErrorStatus init(KzDxBlocks* owner, KzDbBlockTableRecord* record);
    [[nodiscard]] KzDbObjectIdArray representationsOf(const KzDbBlockTableRecord* record) const;
    void forgetGraph() noexcept;

    // Reading (block_node_reading.cpp).
    void file(const KzDxReferenceReader& reader);
    void markContainerChanges(const KzDxContainers& before);
    void unfile(std::span<const KzDbObjectId> gone, std::span<const KzDbObjectId> unread);
    void joinArrived(std::span<const KzDbObjectId> arrived);
    [[nodiscard]] std::vector<KzDbObjectId> filedReferences() const;

    // Registering (block_node_watching.cpp). To join is to register, to leave is to unregister. Joining may
    // run out of memory; leaving needs none.
    Orvo::ErrorStatus join();
    Orvo::ErrorStatus joinRecords();
    void joinReference(KzDbObjectId id);
    void joinAttributes(const KzDbBlockReference& reference, KzDbObjectId id);
    Orvo::ErrorStatus leave();
    Orvo::ErrorStatus leaveRecords();
    [[nodiscard]] bool leaveReference(KzDbObjectId id) noexcept;
    [[nodiscard]] bool leaveReferences() noexcept;
    void leaveUnfiled(std::span<const KzDbObjectId> reported);
    [[nodiscard]] bool leaveEverything() noexcept;
    [[nodiscard]] bool leaveHost() noexcept override;
    void settle();

    KzDxBlocks* owner_ = nullptr;
    KzDbObjectId id_;
    KzDxContainers containers_;
    bool hasChanges_ = false;
    bool needsScan_ = true;
    Clients clients_;
    KzDxWatchedAttributes watchedAttributes_;
    KzDbObjectIdArray recordIds_;
    /// The records after the first, for looking up.
    KzDxIdSet furtherRecords_;
    /// References that the node may still be reactor of although they are not filed: they could not be read,
    /// or somebody held them open when the node wanted to leave them.
    KzDxIdSet unfiled_;
    /// Whether the last switching could not be completed: the node is then not reactor of everything although
    /// it is switched on, or still reactor of something although it is switched off.
    bool isUnsettled_ = false;
    std::uint32_t lastScan_ = 0;
};
