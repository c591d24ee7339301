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

/// Reads from the drawing which references a block has and where each of them is placed: first the lists,
/// which costs one question per record, then the references, each of which is opened.
///
/// One reader serves all nodes of a graph in turn and keeps its storage until `release`, so that a scan
/// allocates next to nothing per node. On failure (a record that does not open or does not answer) the
/// results mean nothing.
class KzDxReferenceReader {
public:
    explicit KzDxReferenceReader(KzDxBlocks& graph) : graph_(graph) {}

    // The lists.

    /// Asks records for their references; erased records are passed over.
    [[nodiscard]] Orvo::ErrorStatus ask(const KzDbObjectIdArray& records);
    /// Asks one open record.
    [[nodiscard]] Orvo::ErrorStatus ask(const KzDbBlockTableRecord& record);

    /// Whether the records have just reported what they did when `filed` was read: nothing came or went.
    [[nodiscard]] bool isAsReported(const KzDxContainers& filed);

    // The references.

    /// Opens every reference that was reported and asks where it is placed. One in the model space of an
    /// attached drawing counts as placed in the record of this drawing that stands for the attached one.
    void place(const KzDxContainers& filed);
    /// The same for those that were not filed before; the others are where they were.
    void placeNew(const KzDxContainers& filed);

    /// Whether each reference has the place that it was filed under.
    [[nodiscard]] bool isAsFiled() const;

    /// What was read, to be filed.
    [[nodiscard]] KzDxContainers containers() const;

    /// Every reference that was reported, live and erased, ascending; for each, whether it has a place.
    [[nodiscard]] std::span<const KzDbObjectId> references() const { return references_; }
    [[nodiscard]] std::span<const std::uint32_t> numbers() const { return numbers_; }

    /// Whether some reference lies in another drawing, and whether some owner was, or should have been,
    /// replaced by the record that stands for its drawing.
    [[nodiscard]] bool hasForeign() const { return hasForeign_; }
    [[nodiscard]] bool hasTranslated() const { return hasTranslated_; }

    /// Forgets what was found out about drawings; they may have changed when the next scan begins.
    void forgetDrawings() { xrefBlocks_.clear(); }

    /// Gives the storage back.
    void release();

private:
    static constexpr std::uint32_t nowhere = KzDxContainers::nowhere;

    /// A container's number under the owner as the host tells it.
    struct OwnerNumber {
        KzDbObjectId owner;
        std::uint32_t number = nowhere;
    };

    [[nodiscard]] Orvo::ErrorStatus append(const KzDbBlockTableRecord& record);
    void sortReported();
    void beginPlacing(const KzDxContainers& filed);
    [[nodiscard]] std::uint32_t placeOf(KzDbObjectId reference);
    [[nodiscard]] OwnerNumber& recentSlot(KzDbObjectId owner);
    [[nodiscard]] std::uint32_t containerNumber(KzDbObjectId owner);
    [[nodiscard]] KzDbObjectId containerOf(KzDbObjectId owner);

    KzDxBlocks& graph_;
    const KzDxContainers* filed_ = nullptr; ///< what `place` was given
    const KzDbDatabase* own_ = nullptr;     ///< the graph's drawing, as of `place`
    KzDbObjectIdArray reported_;            ///< as the records told it, until it is sorted in place
    bool isSorted_ = false;
    std::span<const KzDbObjectId> references_; ///< the part of `reported_` that counts, once it is sorted
    std::vector<std::uint32_t> numbers_;
    /// The containers by number: first those that were filed before, then new ones in the order of meeting.
    /// Equal numbers then mean equal containers, before and now.
    std::vector<KzDbObjectId> containers_;
    bool hasForeign_ = false;
    bool hasTranslated_ = false;
    /// Cache of recent owners: a block's references cycle through a few. A null owner is nowhere.
    std::array<OwnerNumber, 16> recentOwners_;
    KzDxIdIndex numberOfOwner_; ///< owner as the host tells it → container number, or `nowhere`
    KzDxIdIndex numberOfNew_;   ///< container that was not filed before → its number
    std::unordered_map<const KzDbDatabase*, KzDbObjectId> xrefBlocks_; ///< attached drawing → its record here
};
