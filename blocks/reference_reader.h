#pragma once

#include "blocks/containers.h"
#include "blocks/foreign_drawings.h"
#include "blocks/id_index.h"
#include "blocks/update_state.h"
#include "host/block_table.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class KzDxRegistrations;

/// Appends the references that a record reports, live and erased.
[[nodiscard]] Orvo::ErrorStatus kzdxCollectReferences(const KzDbBlockTableRecord& record,
                                                      KzDbObjectIdArray& ids);

/// Reads from the drawing which references a block has and where each of them is placed: first the lists,
/// which costs one query per record, then the references, each of which is opened.
///
/// One reader serves the nodes of a graph in turn, for one scan, and reuses its storage, so that a scan
/// allocates next to nothing per node. If `queryReferences` fails, the results are meaningless.
class KzDxReferenceReader {
public:
    /// `own` is the drawing of the graph. References of other drawings are placed by `foreign`.
    KzDxReferenceReader(const KzDbDatabase* own, KzDxForeignDrawings& foreign)
        : own_(own), foreign_(foreign) {}

    // The lists.

    /// Asks records for their references; erased records are skipped. The status of the first record that
    /// does not open or answer.
    [[nodiscard]] Orvo::ErrorStatus queryReferences(const KzDbObjectIdArray& records);

    /// How many references were reported; a reference that was reported twice counts twice.
    [[nodiscard]] std::size_t reportedCount() const { return static_cast<std::size_t>(reported_.length()); }

    /// Whether the records have just reported what they did when `stored` was read.
    [[nodiscard]] bool listsUnchanged(const KzDxContainers& stored);

    // The references.

    /// Opens references and asks for their containers: of all, or at level `newReferences` of those that were
    /// not reported before; the others are where they were. References that have a container, and had none
    /// before, are registered with in the same opening if `registrations` is given.
    void resolveContainers(const KzDxContainers& stored, KzDxReadLevel level,
                           KzDxRegistrations* registrations);

    /// Whether each reference has the container that it is stored under.
    [[nodiscard]] bool placementsUnchanged() const;

    /// What was read, to be stored.
    [[nodiscard]] KzDxContainers containers() const { return {references_, numbers_, containers_}; }

    /// Every reference that was reported, live and erased, ascending.
    [[nodiscard]] std::span<const KzDbObjectId> references() const { return references_; }

    /// Whether some reference is placed in another drawing, or may be: some record depends on one.
    [[nodiscard]] bool hasForeign() const { return hasForeign_; }

private:
    static constexpr std::uint32_t noContainer = KzDxContainers::noContainer;

    void sortReported();
    void beginResolving(const KzDxContainers& stored);
    [[nodiscard]] std::uint32_t numberOf(KzDbObjectId reference);
    [[nodiscard]] std::uint32_t registeredNumberOf(KzDbObjectId reference, KzDxRegistrations& registrations);
    [[nodiscard]] std::uint32_t containerNumber(KzDbObjectId owner);
    [[nodiscard]] std::uint32_t newNumber(KzDbObjectId container);
    [[nodiscard]] KzDbObjectId containerOf(KzDbObjectId owner);

    const KzDbDatabase* own_;
    KzDxForeignDrawings& foreign_;
    const KzDxContainers* stored_ = nullptr; ///< what `resolveContainers` was given
    KzDbObjectIdArray reported_;             ///< as the records reported it, until it is sorted in place
    std::span<KzDbObjectId> references_;     ///< the part of it that counts once it is sorted
    std::vector<std::uint32_t> numbers_;
    /// The containers by number: first the stored ones, then new ones in the order of discovery. Equal
    /// numbers then mean equal containers, before and now.
    std::vector<KzDbObjectId> containers_;
    bool hasForeign_ = false;
    KzDxIdIndex numberOfOwner_; ///< owner as the host reports it → container number, or `noContainer`
};
