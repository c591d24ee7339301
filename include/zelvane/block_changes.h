#pragma once

/// @file
/// What a watch is told.

#include "zelvane/drawing.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace Zelvane {

/// A reference that was taken out of one record and put into another.
///
///     for (const Zelvane::BlockMove& move : change.moved) std::puts(Zelvane::nameOf(move.to).c_str());
struct BlockMove {
    KzDbObjectId reference; ///< which one
    KzDbObjectId from;      ///< the record that it left
    KzDbObjectId to;        ///< the record that it entered
};

/// What the drawing tells about the change of one block: live references, in ascending order of their ids.
///
///     std::printf("%s: %zu -> %zu\n", Zelvane::nameOf(change.block).c_str(), change.before, change.after);
struct BlockChange {
    KzDbObjectId block;             ///< which one
    std::size_t before = 0;         ///< how many references it had when it was looked at last
    std::size_t after = 0;          ///< how many it has now
    std::vector<KzDbObjectId> came; ///< references that it did not have
    std::vector<KzDbObjectId> went; ///< references that it has no longer
    std::vector<BlockMove> moved;   ///< references that lie in another record now
    /// The blocks of which references came, went or moved, and inside which this one lies, at any depth.
    std::vector<KzDbObjectId> insideChanged;

    /// Whether references of the block itself came, went or moved.
    [[nodiscard]] bool isChanged() const { return !came.empty() || !went.empty() || !moved.empty(); }
};

/// What the drawing tells about all blocks of a watch: those that changed, or that lie in changed ones, in
/// the order in which they were attached. Empty when the change was one that moves nothing: a reference was
/// modified in its place, or an attribute.
///
///     for (const Zelvane::BlockChange& change : changes) std::puts(Zelvane::nameOf(change.block).c_str());
class BlockChanges {
public:
    BlockChanges() = default;
    /// For tests of a client's own function.
    explicit BlockChanges(std::vector<BlockChange> all) : all_(std::move(all)) {}

    /// A range, each block once.
    /// @{
    [[nodiscard]] bool isEmpty() const { return all_.empty(); }
    [[nodiscard]] std::size_t size() const { return all_.size(); }
    [[nodiscard]] auto begin() const { return all_.begin(); }
    [[nodiscard]] auto end() const { return all_.end(); }
    /// @}

private:
    std::vector<BlockChange> all_;
};

namespace detail {

/// Where the references of some blocks were placed at one moment, and of the blocks around them.
class Placements {
public:
    /// Reads the blocks, and every block in which they lie.
    Placements(const KzDbDatabase* drawing, const KzDbObjectIdArray& blocks) {
        std::vector<KzDbObjectId> waiting(blocks.begin(), blocks.end());
        while (!waiting.empty()) {
            const KzDbObjectId block = waiting.back();
            waiting.pop_back();
            const auto [entry, isNew] = owners_.try_emplace(block);
            if (!isNew) continue;
            for (const KzDbBlockReference& reference : references(block)) {
                const KzDbObjectId owner = reference.ownerId();
                entry->second.emplace(reference.objectId(), owner);
                const auto [known, isNewOwner] = blockOfOwner_.try_emplace(owner);
                if (!isNewOwner) continue;
                known->second = blockOf(owner, drawing);
                waiting.push_back(known->second);
            }
        }
    }

    /// Takes over the blocks that are here not known yet.
    void add(Placements&& further) { owners_.merge(further.owners_); }

    /// What is different now for each of the blocks.
    [[nodiscard]] BlockChanges changesTo(const Placements& now, const KzDbObjectIdArray& blocks) const {
        const std::set<KzDbObjectId> changed = changedIn(now);
        std::vector<BlockChange> all;
        for (const KzDbObjectId block : blocks) {
            BlockChange change = changeOf(block, now);
            change.insideChanged = now.around(block, changed);
            if (change.isChanged() || !change.insideChanged.empty()) all.push_back(std::move(change));
        }
        return BlockChanges(std::move(all));
    }

private:
    /// The record in which each reference of a block is placed.
    using Owners = std::map<KzDbObjectId, KzDbObjectId>;

    /// The block that a record belongs to: for a representation its enhanced block, for the model space of an
    /// attached drawing the record that stands for that drawing, else the record itself.
    [[nodiscard]] static KzDbObjectId blockOf(KzDbObjectId owner, const KzDbDatabase* drawing) {
        const KzDbDatabase* const home = owner.database();
        KzDbObjectId block;
        if (home != drawing && owner == modelSpaceId(home)) {
            block = attachmentOf(drawing, home);
        } else if (const Opened<KzDbBlockTableRecord> record(owner); record && record->isAnonymous()) {
            block = enhancedBlockOf(owner);
        }
        return block.isNull() ? owner : block;
    }

    [[nodiscard]] const Owners& of(KzDbObjectId block) const {
        const auto found = owners_.find(block);
        return found != owners_.end() ? found->second : none_;
    }

    /// The blocks that were known before and are placed in another way now. A block that has come to lie
    /// around another one tells nothing: the reference that brought it there does.
    [[nodiscard]] std::set<KzDbObjectId> changedIn(const Placements& now) const {
        std::set<KzDbObjectId> changed;
        for (const auto& [block, before] : owners_) {
            if (before != now.of(block)) changed.insert(block);
        }
        return changed;
    }

    [[nodiscard]] BlockChange changeOf(KzDbObjectId block, const Placements& now) const {
        const Owners& before = of(block);
        const Owners& after = now.of(block);
        BlockChange change;
        change.block = block;
        change.before = before.size();
        change.after = after.size();
        for (const auto& [reference, owner] : after) {
            const auto found = before.find(reference);
            if (found == before.end()) {
                change.came.push_back(reference);
            } else if (found->second != owner) {
                change.moved.push_back({reference, found->second, owner});
            }
        }
        for (const auto& [reference, owner] : before) {
            if (!after.contains(reference)) change.went.push_back(reference);
        }
        return change;
    }

    /// Those of the `wanted` blocks in which a block lies, without itself, in ascending order.
    [[nodiscard]] std::vector<KzDbObjectId> around(KzDbObjectId block,
                                                   const std::set<KzDbObjectId>& wanted) const {
        std::set<KzDbObjectId> visited{block};
        std::vector<KzDbObjectId> waiting{block};
        while (!waiting.empty()) {
            const Owners& owners = of(waiting.back());
            waiting.pop_back();
            for (const auto& [reference, owner] : owners) {
                const KzDbObjectId container = blockOfOwner_.at(owner);
                if (visited.insert(container).second) waiting.push_back(container);
            }
        }
        visited.erase(block);
        std::vector<KzDbObjectId> result;
        std::ranges::set_intersection(visited, wanted, std::back_inserter(result));
        return result;
    }

    std::map<KzDbObjectId, Owners> owners_; // by block
    Owners none_;                           // of a block that is not known
    std::map<KzDbObjectId, KzDbObjectId> blockOfOwner_;
};

} // namespace detail

} // namespace Zelvane
