#pragma once

#include "blocks/node_list.h"

#include <cstddef>
#include <cstdint>

class KzDbObject;

/// How much of a node the next scan reads. Each level includes those before.
enum class KzDxReadLevel : std::uint8_t {
    nothing,       ///< what is stored equals the drawing
    newReferences, ///< the lists of references; references that were not listed before are opened
    everything,    ///< the lists, and every reference is opened
};

/// How much of the drawing the next scan reads. Each level includes those before.
enum class KzDxScanLevel : std::uint8_t {
    staleNodes,     ///< the ids of the table's records, records without a certain answer, and stale nodes
    referenceLists, ///< every record, and the lists of references of every node
    full,           ///< every record, and everything of every node
};

/// Dirty state of a block graph: what the next scan must read, and which nodes have changed since clients
/// were notified. Every reason for a reading is one function here; none allocates, so that notifications may
/// call it.
///
/// | what happens                                  | the node is read          | the next scan is at least |
/// |-----------------------------------------------|---------------------------|---------------------------|
/// | an attribute is about to change, or is copied | everything                | `staleNodes`              |
/// | a reference or a record is                    | everything                | `referenceLists`          |
/// | a reference or a record is destroyed          |                           | `referenceLists`          |
/// | the block table is about to change            |                           | `referenceLists`          |
/// | a node is created                             | everything                |                           |
/// | a node gets a further record                  | new references            |                           |
/// | `evaluate` is called from outside             | everything                | `referenceLists`          |
/// | the graph is switched on, or told to read all | everything                | `full`                    |
/// | a scan finds:                                 |                           |                           |
/// | - other ids in the table than last time       |                           | `referenceLists`, at once |
/// | - a record or reference of another drawing    | new references, always    | `staleNodes`              |
/// | - that another record or model space counts   | everything, if it has any | `staleNodes`              |
/// |   for a drawing in which references are       |                           |                           |
/// | - a node that may miss notifications, or does | everything, again         | `referenceLists`          |
/// |   not answer                                  |                           |                           |
/// | - a record in the table without a node        |                           | `referenceLists`          |
/// | a scan is interrupted                         |                           | `referenceLists`          |
///
/// An attribute is the only object whose edit cannot change which references a record reports. All others
/// can: inserting a block edits the record that takes the reference, not the record that reports it.
///
/// "Stale" is a node whose read level is not `nothing`; exactly those are on the list of stale nodes.
class KzDxUpdateState {
public:
    /// Makes room for this many nodes in all: adding them to lists then does not allocate.
    void reserve(std::size_t nodes);

    /// Forgets a node, or all.
    void remove(KzDxBlock& node) noexcept;
    void clear() noexcept;

    /// An object that a node is registered with is about to change, was copied, or is about to be destroyed.
    void objectEdited(const KzDbObject* object) noexcept;

    /// The node must be read at that level or more.
    void markStale(KzDxBlock& node, KzDxReadLevel level) noexcept;
    /// The node has changed; clients have not been notified of it.
    void markChanged(KzDxBlock& node) noexcept { changed_.add(node); }
    /// The node reports references of other drawings.
    void markForeign(KzDxBlock& node) noexcept { foreign_.add(node); }

    [[nodiscard]] KzDxScanLevel level() const { return level_; }
    void raiseLevel(KzDxScanLevel level) noexcept;
    /// To be called when a scan is complete: the level for a next update after which nothing was edited.
    void settle(KzDxScanLevel level) noexcept { level_ = level; }

    [[nodiscard]] KzDxNodeList& stale() { return stale_; }
    [[nodiscard]] KzDxNodeList& changed() { return changed_; }
    [[nodiscard]] const KzDxNodeList& changed() const { return changed_; }
    [[nodiscard]] const KzDxNodeList& foreign() const { return foreign_; }

private:
    KzDxScanLevel level_ = KzDxScanLevel::full;
    KzDxNodeList stale_{KzDxNodeMark::stale};
    KzDxNodeList changed_{KzDxNodeMark::changed};
    KzDxNodeList foreign_{KzDxNodeMark::foreign};
};
