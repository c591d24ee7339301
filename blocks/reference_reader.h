#pragma once

#include "blocks/containers.h"
#include "blocks/id_index.h"
#include "host/block_table.h"

#include <array>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

class KzDxBlocks;

/// Reads from the drawing which references a block has and where each of them is placed.
///
/// One reader serves all nodes of a graph in turn and keeps its storage until `release`, so that a scan
/// allocates next to nothing per node.
class KzDxReferenceReader {
public:
    /// The number of a container that there is none of.
    static constexpr std::uint32_t nowhere = UINT32_MAX;

    explicit KzDxReferenceReader(KzDxBlocks& graph) : graph_(graph) {}

    /// Reads the references of `records`, and compares them on the way with how they were filed before. A
    /// reference placed in the model space of an attached drawing counts as placed in the record of this
    /// drawing that stands for the attached one.
    ///
    /// On failure (a record that does not open or does not answer) the results mean nothing.
    [[nodiscard]] Orvo::ErrorStatus read(const KzDbObjectIdArray& records, const KzDxContainers& filed);

    /// Whether the references that have a place are those that were filed, each in its container.
    [[nodiscard]] bool isAsFiled() const { return isAsFiled_; }

    /// Every reference that the records report, live and erased, ascending.
    [[nodiscard]] std::span<const KzDbObjectId> references() const { return references_; }

    /// For each of the references the number of its container; `nowhere` when it could not be opened or has
    /// none.
    [[nodiscard]] const std::vector<std::uint32_t>& placements() const { return placements_; }

    /// How many containers were met, and which they are, in no order.
    [[nodiscard]] std::size_t containerCount() const { return containers_.size(); }
    [[nodiscard]] KzDbObjectId container(std::size_t number) const { return containers_[number].id; }

    /// Forgets what was found out about drawings; they may have changed when the next scan begins.
    void forgetDrawings() { xrefBlocks_.clear(); }

    /// Gives the storage back.
    void release();

private:
    struct Container {
        KzDbObjectId id;
        const KzDbObjectId* filed = nullptr; ///< the first that was filed under it and has not been met yet
        const KzDbObjectId* filedEnd = nullptr;
    };
    /// A container's number under the owner as the host tells it.
    struct OwnerNumber {
        KzDbObjectId owner;
        std::uint32_t container = nowhere;
    };

    [[nodiscard]] Orvo::ErrorStatus collectReferences(const KzDbObjectIdArray& records);
    [[nodiscard]] Orvo::ErrorStatus collectReferencesOf(KzDbObjectId record);
    void placeReferences();
    [[nodiscard]] std::uint32_t placeOf(KzDbObjectId reference);
    [[nodiscard]] OwnerNumber& recentSlot(KzDbObjectId owner);
    [[nodiscard]] std::uint32_t containerNumber(KzDbObjectId owner);
    [[nodiscard]] KzDbObjectId containerOf(KzDbObjectId owner);
    void compare(KzDbObjectId reference, Container& container);
    [[nodiscard]] bool isNothingMissing() const;

    KzDxBlocks& graph_;
    const KzDxContainers* filed_ = nullptr; ///< during `read` only
    bool isAsFiled_ = false;
    KzDbObjectIdArray reported_;
    std::span<const KzDbObjectId> references_; ///< the part of `reported_` that counts
    std::vector<std::uint32_t> placements_;
    std::vector<Container> containers_;
    /// Owners met lately: the references of a block lie by turns in a few. A null owner is nowhere.
    std::array<OwnerNumber, 16> recentOwners_;
    KzDxIdIndex numberOfOwner_;     ///< owner as the host tells it → container number, or `nowhere`
    KzDxIdIndex numberOfContainer_; ///< container → its number
    std::unordered_map<const KzDbDatabase*, KzDbObjectId> xrefBlocks_; ///< attached drawing → its record here
};
