#pragma once

#include "blocks/containers.h"
#include "blocks/id_set.h"
#include "blocks/node_list.h"
#include "blocks/registrations.h"
#include "core/call_set.h"
#include "core/deferred_deletion.h"
#include "core/enable_base.h"
#include "host/block_table.h"
#include "host/object_reactor.h"
#include "zelvane/zelvane.h"

#include <cstdint>
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
/// Made by `create`, owned by its graph, parts by deferred deletion.
class KzDxBlock : public KzDbObjectReactor, public KzDxEnableBase, public KzDxDeferredDeletion {
public:
    using Clients = KzDxCallSet<KzDxClientCallback>;

    /// Makes the node of a record, which is open: reads it, enters the keys of its further records in the
    /// graph, and switches it as the graph is. Its own key is entered by `KzDxBlocks::addBlock`. On failure
    /// `node` is null and the graph holds no key of it: `missingCollaborator` for a null argument, else the
    /// status of the first reading.
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

    /// `evaluate` for the node's own record. Keeps its slot, as `evaluate` does: the graph's scans take the
    /// two halves of it below.
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

    void makeRoomForClient() { clients_.makeRoomForOne(); }

    // For the graph's scans.

    /// The first half of `evaluate`: takes a record among the node's records, with its key in the graph.
    /// False when it was there already.
    bool listRecord(KzDbObjectId record);

    /// The second half: asks all records, and opens every reference of a node that has become stale, of any
    /// other one only those that have come.
    Orvo::ErrorStatus read();

    /// Has the graph read the node again, all its references. A node that is listed as stale without this
    /// call has only those read that have come.
    void becomeStale() noexcept;

    /// Whether the node has to be read at every update, because it does not hear all that could change what
    /// is filed: a reference could not be joined or read, or a switching could not be completed.
    [[nodiscard]] bool isHardOfHearing() const;

    /// The number of the last walk over the block table in which some record led to the node.
    [[nodiscard]] std::uint32_t lastWalk() const { return lastWalk_; }
    void setLastWalk(std::uint32_t walk) { lastWalk_ = walk; }

    /// Whether an anonymous record leads to the node: its references decide which block it represents.
    [[nodiscard]] bool hasAnonymousRecord() const { return hasAnonymousRecord_; }
    void setHasAnonymousRecord() { hasAnonymousRecord_ = true; }

    /// Whether the container of some reference is the record that stands for its drawing, or lacks it.
    [[nodiscard]] bool hasTranslated() const { return hasTranslated_; }

    // For the lists of nodes.
    [[nodiscard]] bool hasMark(KzDxNodeMark mark) const { return (marks_ & bit(mark)) != 0; }
    void mark(KzDxNodeMark mark) { marks_ = static_cast<std::uint8_t>(marks_ | bit(mark)); }
    void unmark(KzDxNodeMark mark) { marks_ = static_cast<std::uint8_t>(marks_ & ~bit(mark)); }
    [[nodiscard]] bool isStale() const { return hasMark(KzDxNodeMark::stale); }

private:
    KzDxBlock() = default;

    static constexpr std::uint8_t bit(KzDxNodeMark mark) { return static_cast<std::uint8_t>(mark); }

    Orvo::ErrorStatus init(KzDxBlocks* owner, KzDbBlockTableRecord* record);
    [[nodiscard]] KzDbObjectIdArray representationsOf(const KzDbBlockTableRecord* record) const;
    [[nodiscard]] bool leaveHost() noexcept override;
    void noteSwitching(Orvo::ErrorStatus status);
    void listsMayDiffer();
    [[nodiscard]] bool decidesRepresentation(const KzDbObject* object) const;

    // Reading (block_node_reading.cpp).
    struct Differences;
    void file(const KzDxReferenceReader& reader);
    void rememberJoined(const KzDxReferenceReader& reader);
    void markContainerChanges(const KzDxContainers& before);

    // First what a walk over all nodes looks at: it is in few cache lines.
    KzDxBlocks* owner_ = nullptr;
    KzDbObjectId id_;
    std::uint32_t lastWalk_ = 0;
    std::uint8_t marks_ = 0; ///< a bit for each list of the graph that the node is in
    bool hasChanges_ = false;
    bool needsScan_ = true;
    bool hasAnonymousRecord_ = false;
    bool hasTranslated_ = false;
    bool readsAll_ = true; ///< whether the next reading opens every reference, or only those that have come
    KzDxContainers containers_;
    KzDbObjectIdArray recordIds_;
    Clients clients_;
    /// The records after the first, for looking up.
    KzDxIdSet furtherRecords_;
    KzDxRegistrations registrations_{*this};
};
