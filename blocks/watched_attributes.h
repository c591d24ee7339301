#pragma once

#include "host/ids.h"

#include <algorithm>
#include <cstddef>
#include <vector>

/// Which attributes of which references a node is reactor of.
///
/// One array of pairs, sorted when it is asked after additions: sixteen bytes per attribute, nothing for
/// references without attributes. Additions and removals in any number cost one sort in all, not one each.
/// Only additions allocate.
class KzDxWatchedAttributes {
public:
    struct Pair {
        KzDbObjectId reference;
        KzDbObjectId attribute;
        friend auto operator<=>(const Pair&, const Pair&) = default;
    };

    /// An attribute that is there already stays there once.
    void add(KzDbObjectId reference, KzDbObjectId attribute) { pairs_.push_back({reference, attribute}); }

    /// Removes those attributes of one reference for which `hasLeft(attribute)` returns true, asked in
    /// ascending order. Whether that was all of them.
    template <class HasLeft>
    bool removeOf(KzDbObjectId reference, HasLeft hasLeft) {
        sort();
        return remove(std::ranges::lower_bound(pairs_, reference, {}, &Pair::reference),
                      std::ranges::upper_bound(pairs_, reference, {}, &Pair::reference), hasLeft);
    }

    /// The same for all attributes, in order of reference and attribute.
    template <class HasLeft>
    bool removeAll(HasLeft hasLeft) {
        sort();
        return remove(pairs_.begin(), pairs_.end(), hasLeft);
    }

    /// Releases the storage if no attribute is left.
    void releaseIfEmpty() {
        if (removed_ == pairs_.size()) *this = {};
    }

private:
    using Position = std::vector<Pair>::iterator;

    template <class HasLeft>
    bool remove(Position first, Position last, HasLeft hasLeft) {
        bool areAllGone = true;
        for (auto pair = first; pair != last; ++pair) {
            if (pair->attribute.isNull()) continue;
            if (hasLeft(pair->attribute)) {
                pair->attribute = KzDbObjectId();
                ++removed_;
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
    std::size_t removed_ = 0;
};
