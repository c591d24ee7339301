#pragma once

#include "blocks/containers.h"
#include "blocks/id_set.h"
#include "blocks/registrations.h"
#include "blocks/update_state.h"
#include "core/call_set.h"
#include "core/deferred_deletion.h"
#include "core/enable_base.h"
#include "host/block_table.h"
#include "host/object_reactor.h"
#include "zelvane/zelvane.h"

#include <algorithm>
#include <cstdint>

class KzDxBlocks;
class KzDxReferenceReader;

/// A node of the block graph: one block definition of a drawing, with the placements of its references, its
/// dirty state and its clients.
///
/// While switched on, the node is a reactor of its records, of its references and of their attributes. A
/// notification only sets dirty state, of the node and of the graph: `needsScan` (the block must be read
/// again) and `hasChanges` (it changed and clients have not been notified). The graph reads it later.
///
/// An enhanced block's node also represents the anonymous records that represent the block: their references
/// count as references of the block.
///
/// The virtual operations are called by slot: their order is fixed.
///
/// Created by `create`, owned by its graph, removed by deferred deletion.
class KzDxBlock : public KzDbObjectReactor, public KzDxEnableBase, public KzDxDeferredDeletion {
public:
    using Clients = KzDxCallSet<KzDxClientCallback>;

    /// Creates the node of an open record, switched off; the graph adds it. On failure `node` is null:
    /// `missingCollaborator` for a null argument, otherwise the status of the first record that cannot be
    /// read.
    static Orvo::ErrorStatus create(KzDxBlock*& node, KzDxBlocks* owner, KzDbBlockTableRecord* record);

    ~KzDxBlock() override;

    // Notifications. They open nothing and do not allocate.
    void copied(const KzDbObject* object, const KzDbObject* copy) override;
    void goodbye(const KzDbObject* object) override;
    void aboutToChange(const KzDbObject* object) override;

    /// Adds `record` to the node's records, if necessary, and reads the references of all records again.
    /// Stores the references by container. Marks the node as changed if a reference was added or removed,
    /// or a container was added or lost its last reference. While switched on, registers with new
    /// references; always unregisters from removed ones.
    ///
    /// `missingCollaborator` without a graph, `invalidObjectId` for a null record, or the status of a
    /// record that cannot be read; then only the list of records may have changed.
    virtual Orvo::ErrorStatus evaluate(KzDbObjectId record);

    /// `evaluate` for the node's own record. Scans use `addRecord` and `read` instead.
    virtual Orvo::ErrorStatus refresh();

    [[nodiscard]] virtual const KzDxContainers& containers() const { return containers_; }

    [[nodiscard]] virtual bool needsScan() const { return needsScan_; }
    /// Setting sets the flag of the graph first, and has no effect without a graph; clearing does not
    /// change the graph.
    virtual void setNeedsScan(bool value);

    [[nodiscard]] virtual bool hasChanges() const { return hasChanges_; }
    /// Like `setNeedsScan`.
    virtual void setHasChanges(bool value);

    /// The callbacks of this block, not owned, in ascending order of address.
    [[nodiscard]] virtual const Clients& clients() const { return clients_; }
    /// A null callback is ignored. Does not allocate immediately after `reserveClient`.
    virtual void addClient(KzDxClientCallback callback);
    virtual void removeClient(KzDxClientCallback callback);

    /// Registers with every object of the node, or unregisters. Stores the flag in any case.
    /// `invalidObjectId` if the node's record is invalid or erased, or the status of the first record that
    /// cannot be opened, after which no other record is tried.
    Orvo::ErrorStatus setEnabled(bool enable) override;

    /// The node's own record.
    [[nodiscard]] KzDbObjectId id() const { return id_; }

    /// All records whose references count as references of the block, the own record first.
    [[nodiscard]] const KzDbObjectIdArray& recordIds() const { return recordIds_; }

    void reserveClient() { clients_.reserveOne(); }

    // For scans.

    /// Adds a record to the node's records, with its key in the graph. Has no effect if it is among them.
    void addRecord(KzDbObjectId record);

    /// Reads the references of a stale node at its read level and stores them. The node stays stale if a
    /// record cannot be read, or if it may miss notifications.
    void read(KzDxReferenceReader& reader);

    [[nodiscard]] KzDxReadLevel readLevel() const { return readLevel_; }
    [[nodiscard]] bool isStale() const { return readLevel_ != KzDxReadLevel::nothing; }
    /// Whether the reading phase of a scan reads the node.
    [[nodiscard]] bool isDue() const {
        return isStale() && (isReached_ || readLevel_ == KzDxReadLevel::initial);
    }
    /// Stores whether a record of the block table led to the node in the last scan.
    void setReached(bool value) { isReached_ = value; }

    // For `KzDxUpdateState`, which lists the nodes by these.
    void raiseReadLevel(KzDxReadLevel level) { readLevel_ = std::max(readLevel_, level); }
    void storeHasChanges(bool value) { hasChanges_ = value; }
    [[nodiscard]] bool isForeign() const { return isForeign_; }
    void storeForeign() { isForeign_ = true; }

private:
    KzDxBlock() = default;

    Orvo::ErrorStatus init(KzDxBlocks* owner, KzDbBlockTableRecord* record);
    [[nodiscard]] bool tryUnregister() noexcept override;
    void objectEdited(const KzDbObject* object);
    void markStale() noexcept;
    [[nodiscard]] bool areRecordsRegistered() const {
        return registrations_.registeredRecords() == recordIds_.length();
    }
    [[nodiscard]] bool mayMissNotifications() const;

    // Reading (block_node_reading.cpp).
    [[nodiscard]] Orvo::ErrorStatus readReferences(KzDxReferenceReader& reader);
    void resolve(KzDxReferenceReader& reader);
    void store(const KzDxReferenceReader& reader);
    void rememberRegistered(const KzDxReferenceReader& reader);

    // The members that a walk over all nodes uses are first, so that they are in few cache lines.
    KzDxBlocks* owner_ = nullptr;
    KzDbObjectId id_;
    KzDxReadLevel readLevel_ = KzDxReadLevel::nothing;
    bool isForeign_ = false;
    bool isReached_ = false;
    bool hasChanges_ = false;
    bool needsScan_ = true;
    KzDxContainers containers_;
    KzDbObjectIdArray recordIds_;
    Clients clients_;
    /// The records after the first, for look-ups.
    KzDxIdSet furtherRecords_;
    KzDxRegistrations registrations_{*this};
};
