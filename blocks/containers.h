#pragma once

#include "host/ids.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

/// Where the references of a block are placed: an ordered map from container record to the ids of the
/// references filed under it, both ascending. No container is empty.
///
/// A sorted array of sorted arrays: eight bytes per reference, and reading all of it runs through memory in
/// order.
class KzDxContainers {
public:
    struct Entry {
        KzDbObjectId container;
        std::vector<KzDbObjectId> references;
    };

    KzDxContainers() = default;
    /// Takes over entries in ascending order of containers, none empty and none twice.
    explicit KzDxContainers(std::vector<Entry> entries) : entries_(std::move(entries)) {}

    /// The entry of a container; null when the block is not placed there.
    [[nodiscard]] const Entry* find(KzDbObjectId container) const {
        const auto at = std::ranges::lower_bound(entries_, container, {}, &Entry::container);
        return at != entries_.end() && at->container == container ? &*at : nullptr;
    }

    [[nodiscard]] std::size_t size() const { return entries_.size(); }
    [[nodiscard]] auto begin() const { return entries_.begin(); }
    [[nodiscard]] auto end() const { return entries_.end(); }

private:
    std::vector<Entry> entries_;
};
