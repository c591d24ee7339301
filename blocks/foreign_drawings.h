#pragma once

#include "host/ids.h"

#include <span>
#include <vector>

class KzDxBlocks;

/// The other drawings in which references of a graph's blocks are placed: for each, its model space, and the
/// record of the graph's drawing that represents it.
///
/// A reference in the model space of an attached drawing counts as placed in the record that represents the
/// drawing. Both can change without a notification to this drawing, so they are looked up again at the
/// beginning of each scan, and stay the same until its end.
class KzDxForeignDrawings {
public:
    explicit KzDxForeignDrawings(const KzDxBlocks& graph) : graph_(graph) {}

    /// Looks the known drawings up again. `attachingRecords`, in table order, are the records of which one
    /// may represent a drawing. Returns whether nothing is different.
    [[nodiscard]] bool refresh(std::span<const KzDbObjectId> attachingRecords);

    /// Where a reference counts as placed whose owner, in another drawing, is `owner`: mostly the owner
    /// itself. The null id if no record represents that drawing.
    [[nodiscard]] KzDbObjectId containerOf(KzDbObjectId owner);

    [[nodiscard]] bool isEmpty() const { return drawings_.empty(); }
    void clear() { drawings_.clear(); }

private:
    struct Drawing {
        /// Some record of the drawing: it tells whether the drawing is still in memory. Addresses are only
        /// compared.
        KzDbObjectId anyRecord;
        const KzDbDatabase* drawing = nullptr;
        KzDbObjectId modelSpace;
        KzDbObjectId representedBy;
        friend bool operator==(const Drawing&, const Drawing&) = default;
    };

    const KzDxBlocks& graph_;
    std::vector<Drawing> drawings_; ///< few
};
