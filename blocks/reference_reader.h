#pragma once

#include "blocks/id_index.h"
#include "host/block_table.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

class KzDxBlocks;

/// Reads from the drawing which references a block has and where each of them is placed.
///
/// One reader serves all nodes of a graph in turn and keeps its storage until `release`, so that a scan
/// allocates next to nothing per node.
class KzDxReferenceReader {
public:
    /// A reference that was read, and the number of its container in `containers`.
    struct Placement {
        KzDbObjectId reference;
        std::uint32_t container;
    };

    explicit KzDxReferenceReader(KzDxBlocks& graph) : graph_(graph) {}

    /// Reads the references of `records`. A reference placed in the model space of an attached drawing counts
    /// as placed in the record of this drawing that stands for the attached one.
    ///
    /// On failure (a record that does not open or does not answer) the results mean nothing.
    [[nodiscard]] Orvo::ErrorStatus read(const KzDbObjectIdArray& records);

    /// Every reference that the records report, live and erased, ascending.
    [[nodiscard]] const std::vector<KzDbObjectId>& references() const { return references_; }

    /// The references that could be opened and have a container, ascending.
    [[nodiscard]] const std::vector<Placement>& placements() const { return placements_; }

    /// The containers met, each once, in no order.
    [[nodiscard]] const std::vector<KzDbObjectId>& containers() const { return containers_; }

    /// Forgets what was found out about drawings; they may have changed when the next scan begins.
    void forgetDrawings() { xrefBlocks_.clear(); }

    /// Gives the storage back.
    void release();

private:
    static constexpr std::uint32_t nowhere = UINT32_MAX;

    [[nodiscard]] Orvo::ErrorStatus collectReferences(const KzDbObjectIdArray& records);
    [[nodiscard]] Orvo::ErrorStatus collectReferencesOf(KzDbObjectId record);
    void placeReferences();
    [[nodiscard]] std::uint32_t containerNumber(KzDbObjectId owner);
    [[nodiscard]] KzDbObjectId containerOf(KzDbObjectId owner);

    KzDxBlocks& graph_;
    KzDbObjectIdArray reported_;
    std::vector<KzDbObjectId> references_;
    std::vector<Placement> placements_;
    std::vector<KzDbObjectId> containers_;
    KzDxIdIndex numberOfOwner_;     ///< owner as the host tells it → container number, or `nowhere`
    KzDxIdIndex numberOfContainer_; ///< container → its number
    std::unordered_map<const KzDbDatabase*, KzDbObjectId> xrefBlocks_; ///< attached drawing → its record here
};
