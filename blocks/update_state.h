#pragma once

#include "blocks/node_list.h"

#include <cstddef>
#include <cstdint>

class KzDbObject;

/// How much of a node the next scan reads. Each level includes the previous ones.
enum class KzDxReadLevel : std::uint8_t {
    nothing,       ///< the node is up to date
    newReferences, ///< the lists of references; references that were not listed before are opened
    everything,    ///< the lists, and every reference is opened
};

/// How much of the drawing the next scan reads. Each level includes the previous ones.
enum class KzDxScanLevel : std::uint8_t {
    staleNodes,     ///< the ids of the table's records, uncertain records, and stale nodes
    referenceLists, ///< every record, and the lists of references of every node
    full,           ///< every record, and everything of every node
};

/// Dirty state of a block graph: what the next scan must read, and which nodes have changed since clients
/// were notified. Each reason for a reading has one function here. Functions other than `reserve` do not
/// allocate, because notifications call them. Part of the graph.
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
/// | graph switched on, or a full scan requested   | everything                | `full`                    |
/// | a scan finds:                                 |                           |                           |
/// | - other ids in the table than last time       |                           | `referenceLists`, at once |
/// | - a record or reference of another drawing    | new references, always    | `staleNodes`              |
/// | - that another record or model space counts   | everything, if it has any | `staleNodes`              |
/// |   for a drawing in which references are       |                           |                           |
/// | - a node that may miss notifications, or      | everything, again         | `referenceLists`          |
/// |   cannot be read                              |                           |                           |
/// | - a record in the table without a node        |                           | `referenceLists`          |
/// | a scan is interrupted                         |                           | `referenceLists`          |
///
/// Only edits of attributes cannot change the references that a record reports. All others can: inserting a
/// block edits the record that gets the reference, not the record that reports it.
///
/// A node is stale if its read level is not `nothing`. The list of stale nodes contains exactly these.
class KzDxUpdateState {
public:
    /// Reserves memory for this total number of nodes, so that adding them to lists does not allocate.
    void reserve(std::size_t nodes);

    /// Remove a node, or all nodes, from the lists.
    void remove(KzDxBlock& node) noexcept;
    void clear() noexcept;

    /// An object that a node is registered with is about to change, was copied, or is about to be destroyed.
    void objectEdited(const KzDbObject* object) noexcept;

    /// Marks a node as to be read at least at that level.
    void markStale(KzDxBlock& node, KzDxReadLevel level) noexcept;
    /// The node has changed; clients have not been notified of it.
    void markChanged(KzDxBlock& node) noexcept { changed_.add(node); }
    /// The node reports references of other drawings.
    void markForeign(KzDxBlock& node) noexcept { foreign_.add(node); }

    [[nodiscard]] KzDxScanLevel level() const { return level_; }
    void raiseLevel(KzDxScanLevel level) noexcept;
    /// Must be called when a scan is complete. Sets the level for the next update, as without later edits.
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
