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

/// Reads the references of a block and their placements from the drawing: first the lists, by one query per
/// record, then the references, each of which is opened.
///
/// One reader reads all nodes of a graph for one scan and reuses its storage, so that a scan rarely
/// allocates per node. If `queryReferences` fails, the results are undefined.
class KzDxReferenceReader {
public:
    /// `own` is the drawing of the graph. References of other drawings are placed by `foreign`.
    KzDxReferenceReader(const KzDbDatabase* own, KzDxForeignDrawings& foreign)
        : own_(own), foreign_(foreign) {}

    // The lists.

    /// Queries the references of records, and sorts them; erased records are skipped. Returns the status of
    /// the first record that cannot be read.
    [[nodiscard]] Orvo::ErrorStatus queryReferences(const KzDbObjectIdArray& records);

    /// Every reference that was reported, live and erased, in ascending order.
    [[nodiscard]] std::span<const KzDbObjectId> references() const { return references_; }

    /// Whether the records reported the same references as when `stored` was read.
    [[nodiscard]] bool listsUnchanged(const KzDxContainers& stored) const;

    // The references.

    /// Opens references and determines their containers; at level `newReferences` only of references that
    /// were not reported before, while the others keep their containers. If `registrations` is given,
    /// registers with references that have a container and had none before, while they are open.
    void resolveContainers(const KzDxContainers& stored, KzDxReadLevel level,
                           KzDxRegistrations* registrations);

    /// Whether each reference has the container that it is stored under.
    [[nodiscard]] bool placementsUnchanged() const;

    /// Stores the results.
    [[nodiscard]] KzDxContainers containers() const { return {references_, numbers_, containers_}; }

    /// Whether a reference is placed in another drawing, or may be, because a record is dependent.
    [[nodiscard]] bool hasForeign() const { return hasForeign_; }

private:
    static constexpr std::uint32_t noContainer = KzDxContainers::noContainer;

    void beginResolving(const KzDxContainers& stored);
    [[nodiscard]] std::uint32_t numberOf(KzDbObjectId reference);
    [[nodiscard]] std::uint32_t registeredNumberOf(KzDbObjectId reference, KzDxRegistrations& registrations);
    [[nodiscard]] std::uint32_t containerNumber(KzDbObjectId owner);
    [[nodiscard]] std::uint32_t newNumber(KzDbObjectId container);
    [[nodiscard]] KzDbObjectId containerOf(KzDbObjectId owner);

    const KzDbDatabase* own_;
    KzDxForeignDrawings& foreign_;
    const KzDxContainers* stored_ = nullptr; ///< the argument of `resolveContainers`
    KzDbObjectIdArray reported_;             ///< storage of `references_`
    std::span<const KzDbObjectId> references_;
    std::vector<std::uint32_t> numbers_;
    /// The containers by number: first the stored ones, then new ones, so that equal numbers mean equal
    /// containers, stored or read.
    std::vector<KzDbObjectId> containers_;
    bool hasForeign_ = false;
    KzDxIdIndex numberOfOwner_; ///< owner as the host reports it → container number, or `noContainer`
};
