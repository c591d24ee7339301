#pragma once

/// @file
/// The blocks in which the references of a block are placed.

#include "zelvane/drawing.h"
#include "zelvane/own_state.h"
#include "zelvane/placements.h"

#include <algorithm>
#include <functional>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Zelvane { // NOLINT(modernize-concat-nested-namespaces): only one of them has the attribute
namespace Kit ZELVANE_OWN {

/// Finds the blocks of representations. Valid until the drawing is edited.
class RepresentedBlocks {
public:
    explicit RepresentedBlocks(const KzDbDatabase* drawing) : drawing_(drawing) {}

    /// The enhanced block that a record represents, otherwise the record itself.
    [[nodiscard]] KzDbObjectId blockOf(KzDbObjectId record) {
        KzDbObjectIdArray own;
        static_cast<void>(detail::appendReferences(record, own)); // on failure, the blocks are read
        for (const KzDbBlockReference& reference : OpenedEach<KzDbBlockReference>(std::move(own))) {
            const auto* const protocol = detail::representationProtocol(reference);
            const KzDbObjectId block =
                protocol != nullptr ? protocol->originalBlockTableRecord(&reference) : KzDbObjectId();
            return block.isNull() ? record : block;
        }
        // No reference could be read. Representations are usually anonymous, so the representations of all
        // blocks are only read for anonymous records.
        const Opened<KzDbBlockTableRecord> opened(record);
        if (!opened || !opened->isAnonymous()) return record;
        const auto found = blocks().find(record);
        return found != blocks_.end() ? found->second : record;
    }

private:
    /// The blocks by representation; read on first use.
    [[nodiscard]] const std::unordered_map<KzDbObjectId, KzDbObjectId>& blocks() {
        if (std::exchange(isRead_, true)) return blocks_;
        KzDbObjectIdArray representations;
        for (const KzDbObjectId block : recordIds(drawing_)) {
            representations.clear();
            static_cast<void>(detail::appendRepresentations(block, representations)); // failed: none
            for (const KzDbObjectId each : representations) blocks_.try_emplace(each, block);
        }
        return blocks_;
    }

    const KzDbDatabase* drawing_;
    std::unordered_map<KzDbObjectId, KzDbObjectId> blocks_;
    bool isRead_ = false;
};

/// Finds the block of the drawing to which a record belongs. Valid until the drawing is edited.
class Containers {
public:
    explicit Containers(const KzDbDatabase* drawing) : drawing_(drawing), representedBlocks_(drawing) {}

    /// The enhanced block of a representation; the record from an external reference for the model space of
    /// an attached drawing; null for other records of attached drawings; otherwise the record itself.
    [[nodiscard]] KzDbObjectId blockOf(KzDbObjectId owner) {
        const auto [entry, isNew] = blocks_.try_emplace(owner);
        if (isNew) entry->second = read(owner);
        return entry->second;
    }

    /// Appends the blocks in which references are placed. Consecutive equal blocks are appended once.
    void append(const Placements& placements, std::vector<KzDbObjectId>& blocks) {
        KzDbObjectId last;
        for (const KzDbObjectId owner : placements.owners) {
            if (owner == last || owner.isNull()) continue;
            last = owner;
            const KzDbObjectId block = blockOf(owner);
            if (!block.isNull()) blocks.push_back(block);
        }
    }

private:
    [[nodiscard]] KzDbObjectId read(KzDbObjectId owner) {
        const KzDbDatabase* const home = owner.database();
        if (home == drawing_) return representedBlocks_.blockOf(owner);
        return home != nullptr && owner == modelSpaceId(home) ? attachmentOf(drawing_, home) : KzDbObjectId();
    }

    const KzDbDatabase* drawing_;
    RepresentedBlocks representedBlocks_;
    std::unordered_map<KzDbObjectId, KzDbObjectId> blocks_;
};

/// Finds the changed blocks in which a block is nested, at any depth.
class AncestorSearch {
public:
    /// The current placements of a block; null if they are unknown.
    using PlacementsOf = std::function<const Placements*(KzDbObjectId)>;

    AncestorSearch(Containers& containers, PlacementsOf placementsOf, std::vector<KzDbObjectId> changed)
        : containers_(containers), placementsOf_(std::move(placementsOf)), changed_(std::move(changed)) {
        std::ranges::sort(changed_);
    }

    /// Whether there are changed blocks.
    [[nodiscard]] bool isNeeded() const { return !changed_.empty(); }
    /// The changed ancestors of a block, without the block itself, in ascending order.
    [[nodiscard]] std::vector<KzDbObjectId> changedAround(KzDbObjectId block) {
        std::vector<KzDbObjectId> found;
        if (changed_.empty()) return found;
        std::unordered_set<KzDbObjectId> visited{block};
        std::vector<KzDbObjectId> waiting{block};
        while (!waiting.empty()) {
            const KzDbObjectId next = waiting.back();
            waiting.pop_back();
            for (const KzDbObjectId container : containersOf(next)) {
                if (!visited.insert(container).second) continue;
                waiting.push_back(container);
                if (std::ranges::binary_search(changed_, container)) found.push_back(container);
            }
        }
        std::ranges::sort(found);
        return found;
    }

private:
    /// The blocks in which a block is placed, each once.
    [[nodiscard]] const std::vector<KzDbObjectId>& containersOf(KzDbObjectId block) {
        const auto [entry, isNew] = containersOf_.try_emplace(block);
        const Placements* const placements = isNew ? placementsOf_(block) : nullptr;
        if (placements != nullptr) {
            containers_.append(*placements, entry->second);
            std::ranges::sort(entry->second);
            entry->second.erase(std::unique(entry->second.begin(), entry->second.end()), entry->second.end());
        }
        return entry->second;
    }

    Containers& containers_;
    PlacementsOf placementsOf_;
    std::vector<KzDbObjectId> changed_;
    std::unordered_map<KzDbObjectId, std::vector<KzDbObjectId>> containersOf_;
};

} // namespace ZELVANE_OWN
} // namespace Zelvane
