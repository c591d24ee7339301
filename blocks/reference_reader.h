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
class KzDxRegistrations;

/// Reads from the drawing which references a block has and where each of them is placed: first the lists,
/// which costs one question per record, then the references, each of which is opened.
///
/// One reader serves all nodes of a graph in turn, for one reading of the drawing, and keeps its storage, so
/// that a reading allocates next to nothing per node. What it finds out about attached drawings holds as
/// long. On failure (a record that does not open or does not answer) the results mean nothing.
class KzDxReferenceReader {
public:
    explicit KzDxReferenceReader(KzDxBlocks& graph) : graph_(graph) {}

    // The lists.

    /// Asks records for their references; erased records are passed over.
    [[nodiscard]] Orvo::ErrorStatus ask(const KzDbObjectIdArray& records);
    /// Asks one open record.
    [[nodiscard]] Orvo::ErrorStatus ask(const KzDbBlockTableRecord& record);

    /// How many references were reported, those twice that were reported twice.
    [[nodiscard]] std::size_t reportedCount() const { return static_cast<std::size_t>(reported_.length()); }

    /// Whether the records have just reported what they did when `filed` was read: nothing came or went.
    [[nodiscard]] bool isAsReported(const KzDxContainers& filed);

    // The references.

    enum class Places : std::uint8_t {
        all,     ///< of every reference that was reported
        unknown, ///< of those that were not reported before; the others are where they were
    };

    /// Opens references and asks where they are placed. One in the model space of an attached drawing counts
    /// as placed in the record of this drawing that stands for the attached one. Those that have a place, and
    /// had none before, are joined in the same opening when `joining` is given.
    void place(const KzDxContainers& filed, Places places, KzDxRegistrations* joining);

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
    [[nodiscard]] std::uint32_t joinedPlaceOf(KzDbObjectId reference, KzDxRegistrations& joining);
    [[nodiscard]] std::uint32_t placeOf(const KzDbBlockReference& reference);
    [[nodiscard]] OwnerNumber& recentSlot(KzDbObjectId owner);
    [[nodiscard]] std::uint32_t containerNumber(KzDbObjectId owner);
    [[nodiscard]] KzDbObjectId containerOf(KzDbObjectId owner);

    KzDxBlocks& graph_;
    const KzDxContainers* filed_ = nullptr; ///< what `place` was given
    const KzDbDatabase* own_ = nullptr;     ///< the graph's drawing, as of `place`
    KzDbObjectIdArray reported_;            ///< as the records told it, until it is sorted in place
    std::span<KzDbObjectId> references_;    ///< the part of it that counts once it is sorted
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
