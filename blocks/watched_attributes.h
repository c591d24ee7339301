#pragma once

#include "host/ids.h"

#include <algorithm>
#include <cstddef>
#include <vector>

/// The attributes that a node is registered with, by reference. Part of its registrations.
///
/// One array of pairs, sorted by the first query after additions: 16 bytes per attribute, nothing for
/// references without attributes. Any number of additions and removals costs one sort. Only additions
/// allocate.
class KzDxWatchedAttributes {
public:
    struct Pair {
        KzDbObjectId reference;
        KzDbObjectId attribute;
        friend auto operator<=>(const Pair&, const Pair&) = default;
    };

    /// Adding an attribute again has no effect.
    void add(KzDbObjectId reference, KzDbObjectId attribute) { pairs_.push_back({reference, attribute}); }

    /// Removes the attributes of one reference for which `isUnregistered(attribute)` returns true, called
    /// in ascending order. Returns whether all were removed.
    template <class IsUnregistered>
    bool removeOf(KzDbObjectId reference, IsUnregistered isUnregistered) {
        sort();
        return remove(std::ranges::lower_bound(pairs_, reference, {}, &Pair::reference),
                      std::ranges::upper_bound(pairs_, reference, {}, &Pair::reference), isUnregistered);
    }

    /// The same for all attributes, in order of reference and attribute.
    template <class IsUnregistered>
    bool removeAll(IsUnregistered isUnregistered) {
        sort();
        return remove(pairs_.begin(), pairs_.end(), isUnregistered);
    }

private:
    using Position = std::vector<Pair>::iterator;

    template <class IsUnregistered>
    bool remove(Position first, Position last, IsUnregistered isUnregistered) {
        bool areAllGone = true;
        for (auto pair = first; pair != last; ++pair) {
            if (pair->attribute.isNull()) continue;
            if (isUnregistered(pair->attribute)) {
                pair->attribute = KzDbObjectId();
            } else {
                areAllGone = false;
            }
        }
        return areAllGone;
    }
    void sort();

    /// Ascending up to `sorted_`, then additions in any order. Removed pairs have a null attribute.
    std::vector<Pair> pairs_;
    std::size_t sorted_ = 0;
};
