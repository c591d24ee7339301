#pragma once

#include "host/ids.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// The placements of the references of a block: the ids that its records report, in ascending order, and
/// for each reference the number of the container that it is stored under. Part of a node.
///
/// Two flat arrays, twelve bytes per reference, because they are compared as memory, and a short sorted
/// table of the containers. No container is empty.
class KzDxContainers {
public:
    struct Entry {
        KzDbObjectId container;
        std::uint32_t count = 0; ///< the number of references stored under it
    };

    /// The container number of a reference that is reported but has no container.
    static constexpr std::uint32_t noContainer = UINT32_MAX;

    KzDxContainers() = default;

    /// Stores a reading: `references` in ascending order, and for each reference its index in `containers`,
    /// or `noContainer`. Containers are in any order, each once; unused ones are dropped.
    KzDxContainers(std::span<const KzDbObjectId> references, std::span<const std::uint32_t> numbers,
                   std::span<const KzDbObjectId> containers);

    /// The entry of a container; null if the block is not placed there.
    [[nodiscard]] const Entry* find(KzDbObjectId container) const {
        const auto at = std::ranges::lower_bound(entries_, container, {}, &Entry::container);
        return at != entries_.end() && at->container == container ? &*at : nullptr;
    }

    /// The entries, in ascending order of the containers. Their indexes are the containers' numbers.
    [[nodiscard]] auto begin() const { return entries_.begin(); }
    [[nodiscard]] auto end() const { return entries_.end(); }

    /// Every reference that was reported, in ascending order, and for each the number of its container.
    [[nodiscard]] std::span<const KzDbObjectId> references() const { return references_; }
    [[nodiscard]] std::span<const std::uint32_t> numbers() const { return numbers_; }

    /// Whether a reference was reported.
    [[nodiscard]] bool isReported(KzDbObjectId reference) const {
        return std::ranges::binary_search(references_, reference);
    }
    /// Whether a reference is stored under a container.
    [[nodiscard]] bool hasContainer(KzDbObjectId reference) const {
        const auto at = std::ranges::lower_bound(references_, reference);
        return at != references_.end() && *at == reference &&
               numbers_[static_cast<std::size_t>(at - references_.begin())] != noContainer;
    }

    /// Whether a reference is reported but has no container.
    [[nodiscard]] bool hasUnplaced() const { return hasUnplaced_; }

    /// Calls `visit(reference)` for each reference with a container, in ascending order.
    template <class Visit>
    void forEachPlaced(Visit visit) const {
        for (std::size_t at = 0; at < references_.size(); ++at) {
            if (numbers_[at] != noContainer) visit(references_[at]);
        }
    }

private:
    std::vector<KzDbObjectId> references_;
    std::vector<std::uint32_t> numbers_;
    std::vector<Entry> entries_;
    bool hasUnplaced_ = false;
};
