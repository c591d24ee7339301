#pragma once

/// @file
/// What a watch reports.

#include "host/ids.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace Zelvane {

/// A reference that was taken out of one record and put into another.
///
///     for (const Zelvane::BlockMove& move : change.moved) std::puts(Zelvane::nameOf(move.to).c_str());
struct BlockMove {
    KzDbObjectId reference; ///< the reference
    KzDbObjectId from;      ///< the record that it left
    KzDbObjectId to;        ///< the record that it entered
};

// The operations that the compiler makes for the struct use its deprecated members.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

/// What the drawing shows about the change of one block: live references, in ascending order of their ids.
/// References of the representations of an enhanced block are its own.
///
///     std::printf("%s: %zu -> %zu\n", Zelvane::nameOf(change.block).c_str(), change.before, change.after);
struct BlockChange {
    KzDbObjectId block;                ///< the block
    std::size_t before = 0;            ///< its references when it was read last
    std::size_t after = 0;             ///< its references now
    std::vector<KzDbObjectId> added;   ///< references that are new
    std::vector<KzDbObjectId> removed; ///< references that are gone
    std::vector<BlockMove> moved;      ///< references that lie in another record now
    /// Other blocks of which references were added, removed or moved, and inside which this block lies at any
    /// depth, in ascending order. Found only with `WatchOptions::changedAncestors`.
    std::vector<KzDbObjectId> changedAncestors;

    /// Former names of `added`, `removed` and `changedAncestors`, with the same contents.
    /// @{
    [[deprecated("use added")]] std::vector<KzDbObjectId> came;
    [[deprecated("use removed")]] std::vector<KzDbObjectId> went;
    [[deprecated("use changedAncestors")]] std::vector<KzDbObjectId> insideChanged;
    /// @}

    /// Whether references of the block itself were added, removed or moved.
    [[nodiscard]] bool isChanged() const { return !added.empty() || !removed.empty() || !moved.empty(); }
};

#pragma GCC diagnostic pop

/// What a watch reports in one call.
///
/// As a range: the blocks whose references were added, removed or moved, or that have changed ancestors, each
/// once, in the order in which they were attached. Empty if all references are where they were: one was
/// modified in its place, or an attribute.
///
///     for (const Zelvane::BlockChange& change : changes) std::puts(Zelvane::nameOf(change.block).c_str());
///     for (const KzDbObjectId block : changes.affected()) readAttributesAgain(block);
class BlockChanges {
public:
    BlockChanges() = default;
    /// For tests of a client's own function.
    explicit BlockChanges(std::vector<BlockChange> all, std::vector<KzDbObjectId> affected = {},
                          std::vector<KzDbObjectId> unread = {}, bool isExact = true)
        : all_(std::move(all)),
          affected_(std::move(affected)),
          unread_(std::move(unread)),
          isExact_(isExact),
          isComplete_(unread_.empty()) {}
    /// Nothing could be read, because memory ran out.
    [[nodiscard]] static BlockChanges notRead() {
        BlockChanges changes;
        changes.isComplete_ = false;
        return changes;
    }

    /// The range.
    /// @{
    [[nodiscard]] bool isEmpty() const { return all_.empty(); }
    [[nodiscard]] std::size_t size() const { return all_.size(); }
    [[nodiscard]] auto begin() const { return all_.begin(); }
    [[nodiscard]] auto end() const { return all_.end(); }
    /// @}

    /// The watched blocks that changed or lie in a changed block, at any depth: all that a client has to read
    /// again, attributes for example. In the order in which they were attached.
    [[nodiscard]] const std::vector<KzDbObjectId>& affected() const { return affected_; }

    /// Whether `affected()` holds nothing else. False is possible only when more than 127 blocks of the
    /// document are watched and many changed at once: then it can hold some blocks that did not change. It
    /// never misses one that did.
    [[nodiscard]] bool isExact() const { return isExact_; }

    /// Whether all affected blocks could be read. Otherwise "no change" means "not known yet": what was not
    /// read keeps its last known place, and the next call after it can be read reports it. When memory runs
    /// out, nothing is read, and even the lists are empty.
    [[nodiscard]] bool isComplete() const { return isComplete_; }
    /// The blocks that could not be read completely, because an object of them is held open or the host
    /// failed.
    [[nodiscard]] const std::vector<KzDbObjectId>& unread() const { return unread_; }

private:
    std::vector<BlockChange> all_;
    std::vector<KzDbObjectId> affected_;
    std::vector<KzDbObjectId> unread_;
    bool isExact_ = true;
    bool isComplete_ = true;
};

} // namespace Zelvane
