#pragma once

#include "host/ids.h"

#include <span>
#include <vector>

class KzDxBlocks;

/// The other drawings in which references of a graph's blocks are placed, each with its model space and the
/// record of the graph's drawing that represents it. Part of the scanner.
///
/// A reference in the model space of an attached drawing counts as placed in the record that represents the
/// drawing. Both can change without a notification to this drawing, so they are read at the beginning of
/// each reading phase, and are constant during it.
class KzDxForeignDrawings {
public:
    explicit KzDxForeignDrawings(const KzDxBlocks& graph) : graph_(graph) {}

    /// Reads the known drawings again. `attachingRecords` are the records from external references, in
    /// table order. Returns whether all are unchanged.
    [[nodiscard]] bool refresh(std::span<const KzDbObjectId> attachingRecords);

    /// The container of references that `owner`, a record of another drawing, owns: usually the owner
    /// itself. The null id if no record represents that drawing.
    [[nodiscard]] KzDbObjectId containerOf(KzDbObjectId owner);

    [[nodiscard]] bool isEmpty() const { return drawings_.empty(); }
    void clear() { drawings_.clear(); }

private:
    struct Drawing {
        /// A record of the drawing, which shows whether the drawing is still in memory. Addresses are only
        /// compared.
        KzDbObjectId anyRecord;
        const KzDbDatabase* drawing = nullptr;
        KzDbObjectId modelSpace;
        KzDbObjectId representedBy;
        friend bool operator==(const Drawing&, const Drawing&) = default;
    };

    const KzDxBlocks& graph_;
    std::vector<Drawing> drawings_; ///< few, so they are searched linearly
};
