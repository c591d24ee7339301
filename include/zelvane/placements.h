#pragma once

/// @file
/// The placements of the references of a block, and their comparison.

#include "zelvane/block_changes.h"
#include "zelvane/drawing.h"
#include "zelvane/own_state.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

namespace Zelvane { // NOLINT(modernize-concat-nested-namespaces): only one of them has the attribute
namespace Kit ZELVANE_OWN {

/// The owners of the references of one block: 16 bytes per reference.
struct Placements {
    std::vector<KzDbObjectId> references; ///< the live ones, in the order of the host's lists
    std::vector<KzDbObjectId> owners;     ///< the owner of each reference; null if it was never readable

    void add(KzDbObjectId reference, KzDbObjectId owner) {
        references.push_back(reference);
        owners.push_back(owner);
    }
};

/// Reads the references of one block and compares them with the known placements.
///
/// A reference that cannot be read now keeps its last known owner; if the list of a block cannot be read,
/// this applies to all its references. A new reference that cannot be read is left out until it can be.
class PlacementReader {
public:
    /// The result of a comparison.
    enum class Result {
        same,    ///< the known placements are current; `now()` is undefined
        differs, ///< `now()` replaces the known placements, `change()` has the differences
    };

    /// Reads a block for the first time. True if all of it could be read. If the list could not be read,
    /// there is no result, see `isListRead()`.
    [[nodiscard]] bool read(KzDbObjectId block) {
        begin(block);
        if (!isListRead_) return false;
        now_.references.assign(list_.begin(), list_.end());
        now_.owners.reserve(now_.references.size());
        for (const KzDbObjectId reference : list_) now_.owners.push_back(ownerOf(reference));
        return isComplete_;
    }

    /// Reads a block again.
    [[nodiscard]] Result compare(KzDbObjectId block, const Placements& known) {
        begin(block);
        if (!isListRead_) return Result::same;
        const bool isSameList = areSame({list_.begin(), list_.end()}, known.references);
        const Result result = isSameList ? compareOwners(known) : compareLists(known);
        if (result == Result::differs) sortChange(block, known);
        return result;
    }

    [[nodiscard]] bool isListRead() const { return isListRead_; }
    /// Whether the block could be read completely.
    [[nodiscard]] bool isComplete() const { return isComplete_; }
    [[nodiscard]] Placements& now() { return now_; }
    [[nodiscard]] BlockChange& change() { return change_; }

private:
    using Ids = std::span<const KzDbObjectId>;

    void begin(KzDbObjectId block) {
        now_ = {};
        change_ = {};
        list_.clear();
        isListRead_ = readList(block);
        isComplete_ = isListRead_;
    }

    [[nodiscard]] bool readList(KzDbObjectId block) {
        if (!detail::appendReferences(block, list_)) return false;
        representations_.clear();
        if (!appendRepresentations(block)) return false;
        for (const KzDbObjectId each : representations_) {
            if (!detail::appendReferences(each, list_)) return false;
        }
        return true;
    }

    /// If the host does not have the protocol, there are no representations. If it had the protocol before,
    /// it failed.
    [[nodiscard]] bool appendRepresentations(KzDbObjectId block) {
        const auto* const protocol = detail::representationProtocol(*KzDbBlockReference::desc());
        if (protocol == nullptr) return !hostHasRepresentations;
        hostHasRepresentations = true;
        return protocol->getRepresentations(block, representations_) == Orvo::ok || !block.isValid();
    }

    /// The owner of a reference; null if it cannot be read now.
    [[nodiscard]] KzDbObjectId ownerOf(KzDbObjectId reference) {
        const Opened<KzDbBlockReference> opened(reference);
        if (!opened) isComplete_ = false;
        return opened ? opened->ownerId() : KzDbObjectId();
    }

    [[nodiscard]] static bool areSame(Ids left, Ids right) {
        static_assert(std::has_unique_object_representations_v<KzDbObjectId>);
        return left.size() == right.size() &&
               (left.empty() || std::memcmp(left.data(), right.data(), left.size_bytes()) == 0);
    }

    /// Compares the owners if the list is the same.
    [[nodiscard]] Result compareOwners(const Placements& known) {
        Result result = Result::same;
        for (std::size_t at = 0; at < known.references.size(); ++at) {
            const KzDbObjectId owner = ownerOf(known.references[at]);
            if (owner.isNull() || owner == known.owners[at]) continue;
            if (result == Result::same) now_ = known;
            result = Result::differs;
            place(at, known.owners[at], owner);
        }
        return result;
    }

    void place(std::size_t at, KzDbObjectId before, KzDbObjectId owner) {
        now_.owners[at] = owner;
        // If the owner was never readable, the reference counts as placed there from the beginning.
        if (!before.isNull()) change_.moved.push_back({now_.references[at], before, owner});
    }

    [[nodiscard]] Result compareLists(const Placements& known) {
        const std::vector<std::size_t> order = orderOf(known.references);
        std::vector<bool> isFound(order.size());
        std::size_t next = 0; // usually both lists ascend, and the next one matches
        const auto find = [&](KzDbObjectId reference) {
            const auto idAt = [&](std::size_t at) { return known.references[at]; };
            if (next == order.size() || idAt(order[next]) != reference) {
                const auto at = std::ranges::lower_bound(order, reference, {}, idAt);
                next = static_cast<std::size_t>(at - order.begin());
            }
            return next != order.size() && idAt(order[next]) == reference;
        };
        now_.references.reserve(listSize());
        now_.owners.reserve(listSize());
        for (const KzDbObjectId reference : list_) {
            const KzDbObjectId owner = ownerOf(reference);
            if (find(reference)) {
                const std::size_t at = order[next];
                isFound[next++] = true;
                now_.add(reference, known.owners[at]);
                const bool isElsewhere = !owner.isNull() && owner != known.owners[at];
                if (isElsewhere) place(now_.references.size() - 1, known.owners[at], owner);
            } else if (!owner.isNull()) {
                now_.add(reference, owner);
                change_.added.push_back(reference);
            }
        }
        for (std::size_t at = 0; at < order.size(); ++at) {
            if (!isFound[at]) change_.removed.push_back(known.references[order[at]]);
        }
        return Result::differs;
    }

    [[nodiscard]] std::size_t listSize() const { return static_cast<std::size_t>(list_.length()); }

    /// The positions of a list in ascending order of its ids.
    [[nodiscard]] static std::vector<std::size_t> orderOf(Ids ids) {
        std::vector<std::size_t> order(ids.size());
        for (std::size_t at = 0; at < order.size(); ++at) order[at] = at;
        if (!std::ranges::is_sorted(ids)) {
            std::ranges::sort(order, {}, [&](std::size_t at) { return ids[at]; });
        }
        return order;
    }

    void sortChange(KzDbObjectId block, const Placements& known) {
        change_.block = block;
        change_.before = known.references.size();
        change_.after = now_.references.size();
        std::ranges::sort(change_.added);
        std::ranges::sort(change_.removed);
        std::ranges::sort(change_.moved, {}, &BlockMove::reference);
    }

    static inline bool hostHasRepresentations = false;

    KzDbObjectIdArray list_;
    KzDbObjectIdArray representations_;
    Placements now_;
    BlockChange change_;
    bool isListRead_ = false;
    bool isComplete_ = false;
};

} // namespace ZELVANE_OWN
} // namespace Zelvane
