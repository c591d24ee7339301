#pragma once

/// @file
/// What a watch reports.

#include "host/ids.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace Zelvane {

/// A reference that was moved from one record to another.
///
///     for (const Zelvane::BlockMove& move : change.moved) std::puts(Zelvane::nameOf(move.to).c_str());
struct BlockMove {
    KzDbObjectId reference; ///< the reference
    KzDbObjectId from;      ///< the record that owned it before
    KzDbObjectId to;        ///< the record that owns it now
};

// The implicit operations of the struct use its deprecated members.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

/// The change of one block. All references are live references, in ascending order of their ids. The
/// references of the representations of an enhanced block count as references of the block.
///
///     std::printf("%s: %zu -> %zu\n", Zelvane::nameOf(change.block).c_str(), change.before, change.after);
struct BlockChange {
    KzDbObjectId block;                ///< the block
    std::size_t before = 0;            ///< number of its references when it was read last
    std::size_t after = 0;             ///< number of its references now
    std::vector<KzDbObjectId> added;   ///< new references
    std::vector<KzDbObjectId> removed; ///< references that no longer exist or are erased
    std::vector<BlockMove> moved;      ///< references that are in another record now
    /// The other blocks in which this block is nested, at any depth, and whose references were added,
    /// removed or moved, in ascending order. Empty without `WatchOptions::changedAncestors`.
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
/// As a range: the blocks whose references were added, removed or moved, or that have changed ancestors,
/// each once, in the order in which they were attached. Empty if references or attributes were only
/// modified.
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
    /// The changes of a call for which no block could be read, because memory ran out.
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

    /// The watched blocks that changed or are nested in a changed block, at any depth: the blocks that a
    /// client must read again, for example their attributes. In the order in which they were attached.
    [[nodiscard]] const std::vector<KzDbObjectId>& affected() const { return affected_; }

    /// Whether `affected()` only contains affected blocks. False is possible only if more than 127 blocks
    /// of the document are watched and many changed at once: then `affected()` may also contain blocks that
    /// did not change. It always contains all blocks that did.
    [[nodiscard]] bool isExact() const { return isExact_; }

    /// Whether all affected blocks could be read. If not, some changes are not known yet: references that
    /// were not read keep their last known owner, and the first call after they can be read reports their
    /// changes. If memory runs out, no block is read, and all lists are empty.
    [[nodiscard]] bool isComplete() const { return isComplete_; }
    /// The blocks that could not be read completely, because one of their objects is held open or the host
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
