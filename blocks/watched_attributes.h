#pragma once

#include "host/ids.h"

#include <cstddef>
#include <vector>

/// Which attributes of which references a node is reactor of.
///
/// One array of pairs, sorted when it is asked after additions: sixteen bytes per attribute, nothing for
/// references without attributes. Additions and removals in any number cost one sort in all, not one each.
class KzDxWatchedAttributes {
public:
    struct Pair {
        KzDbObjectId reference;
        KzDbObjectId attribute;
        friend auto operator<=>(const Pair&, const Pair&) = default;
    };

    /// An attribute that is there already stays there once.
    void add(KzDbObjectId reference, KzDbObjectId attribute);

    /// Removes the attributes of one reference and gives them, ascending.
    [[nodiscard]] std::vector<KzDbObjectId> take(KzDbObjectId reference);

    /// Removes everything and gives the attributes in order of reference and attribute.
    [[nodiscard]] std::vector<KzDbObjectId> takeAll();

private:
    void sort();

    /// Ascending up to `sorted_`, then additions in any order. Removed pairs have a null attribute.
    std::vector<Pair> pairs_;
    std::size_t sorted_ = 0;
    std::size_t removed_ = 0;
};
