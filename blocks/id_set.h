#pragma once

#include "host/ids.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

/// Sorts ids in place, in ascending order, without duplicates. Linear if the ids are already in order or
/// their values are close together, as in one drawing. Returns the number of ids, which are at the front;
/// the rest is unspecified.
[[nodiscard]] std::size_t kzdxSortUnique(std::span<KzDbObjectId> ids);

/// Whether two lists of ids are equal. Compares as memory: an update does this for every reference of a
/// drawing.
[[nodiscard]] bool kzdxAreSame(std::span<const KzDbObjectId> left, std::span<const KzDbObjectId> right);

/// An ordered set of ids, kept as a sorted array.
class KzDxIdSet {
public:
    /// Adds an id; returns false if the set has it already. O(1) at the end, otherwise linear.
    bool insert(KzDbObjectId id) {
        const auto at = ids_.empty() || ids_.back() < id ? ids_.end() : std::ranges::lower_bound(ids_, id);
        if (at != ids_.end() && *at == id) return false;
        ids_.insert(at, id);
        return true;
    }

    /// Adds ids that are in ascending order. O(ids of both).
    void insertAscending(std::span<const KzDbObjectId> ids);

    /// Reserves memory for `count` more ids: that many insertions do not allocate.
    void reserveMore(std::size_t count) { ids_.reserve(ids_.size() + count); }

    /// Removes the ids for which `isUnwanted(id)` returns true, called in ascending order.
    template <class Predicate>
    void eraseIf(Predicate isUnwanted) {
        std::erase_if(ids_, isUnwanted);
    }

    [[nodiscard]] bool contains(KzDbObjectId id) const { return std::ranges::binary_search(ids_, id); }
    [[nodiscard]] bool isEmpty() const { return ids_.empty(); }
    [[nodiscard]] std::size_t size() const { return ids_.size(); }
    [[nodiscard]] auto begin() const { return ids_.begin(); }
    [[nodiscard]] auto end() const { return ids_.end(); }

private:
    std::vector<KzDbObjectId> ids_;
};
