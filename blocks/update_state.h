#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class KzDbObject;
class KzDxBlock;

/// How much of a node the next scan reads. Each level includes the previous ones.
enum class KzDxReadLevel : std::uint8_t {
    nothing,       ///< the node is up to date
    newReferences, ///< the lists of references; references that were not listed before are opened
    everything,    ///< the lists, and every reference is opened
    initial,       ///< the same, also if no record of the table leads to the node: it was never read
};

/// Dirty state of a block graph: what the next scan must read, and which nodes have changed since clients
/// were notified. The table lists every reason for a reading. Functions other than `reserve` do not
/// allocate, because notifications call them. Part of the graph.
///
/// A scan compares the ids of the table's records with those of the last scan, visits the uncertain
/// records, and reads the stale nodes that are due: those that a record leads to, and new ones. If reference
/// lists are needed, it visits all records, and compares what each reports with what its node has stored.
///
/// | what happens                                  | the node is read          | lists are needed |
/// |-----------------------------------------------|---------------------------|------------------|
/// | an object is copied                           | everything                |                  |
/// | an attribute is about to change               | everything                |                  |
/// | a reference or a record is                    | everything                | yes              |
/// | a reference or a record is destroyed          |                           | yes              |
/// | the block table is about to change            |                           | yes              |
/// | a node is created                             | initial                   |                  |
/// | `evaluate` or `setNeedsScan` is called        | everything                |                  |
/// | graph switched on, or a full scan requested   | everything, of all nodes  | yes              |
/// | switching finds that a node may miss          | everything                | if it is due     |
/// |   notifications                               |                           |                  |
/// | a scan finds:                                 |                           |                  |
/// | - other ids in the table than last time, or   |                           | yes, at once     |
/// |   that a record leads to another node         |                           |                  |
/// | - that a list of references is another one    | new references            |                  |
/// | - if lists are needed, a node with further    | new references            |                  |
/// |   records                                     |                           |                  |
/// | - a record or reference of another drawing    | new references, always    |                  |
/// | - that another record or model space counts   | everything, if it has any |                  |
/// |   for a drawing in which references are       |                           |                  |
/// | - a due node that may miss notifications, or  | everything, again         | yes              |
/// |   cannot be read                              |                           |                  |
/// | - a record in the table without a node        |                           | yes              |
/// | a scan is interrupted                         |                           | yes              |
///
/// Only edits of attributes cannot change the references that a record reports. All others can: inserting a
/// block edits the record that gets the reference, not the record that reports it. A copied reference is
/// reported by a record of the same node, and copying a record also edits the block table.
class KzDxUpdateState {
public:
    using Nodes = std::vector<KzDxBlock*>;

    /// Reserves memory for this total number of nodes, so that adding them to lists does not allocate.
    void reserve(std::size_t nodes);

    /// Must be called before the nodes are deleted.
    void clear() noexcept;

    /// An object that a node is registered with is about to change or about to be destroyed.
    void objectEdited(const KzDbObject* object) noexcept;

    void requestReferenceLists() noexcept { needsReferenceLists_ = true; }
    [[nodiscard]] bool needsReferenceLists() const { return needsReferenceLists_; }
    /// Must be called when a scan is complete: whether the next one needs the lists even without edits.
    void settle(bool needsReferenceLists) noexcept { needsReferenceLists_ = needsReferenceLists; }

    /// Marks a node as to be read at least at that level.
    void markStale(KzDxBlock& node, KzDxReadLevel level) noexcept;
    /// The nodes whose read level is not `nothing`, each once.
    [[nodiscard]] const Nodes& stale() const { return stale_; }
    /// Must be called after reading stale nodes.
    void removeUpToDate() noexcept;

    /// Sets or clears `hasChanges` of a node, or clears it of all nodes.
    void setChanged(KzDxBlock& node, bool value) noexcept;
    void clearChanged() noexcept;
    /// The nodes with `hasChanges`, each once.
    [[nodiscard]] const Nodes& changed() const { return changed_; }

    /// A node may report references of other drawings, where an insert does not notify the graph.
    void markForeign(KzDxBlock& node) noexcept;
    [[nodiscard]] const Nodes& foreign() const { return foreign_; }

private:
    static void add(Nodes& list, KzDxBlock& node) noexcept;

    bool needsReferenceLists_ = false;
    Nodes stale_;
    Nodes changed_;
    Nodes foreign_;
};
