#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "host/symbol_utilities.h"

namespace {

/// Whether `container` is the model space of a drawing other than `own`: what is placed there counts as
/// placed in the record of this drawing that represents the attached one.
bool isForeignModelSpace(KzDbObjectId container, const KzDbDatabase* own) {
    const KzDbDatabase* const drawing = container.database(); // null if the container is not valid
    return drawing != nullptr && drawing != own &&
           KzDbSymbolUtilities::servicesPtr106()->modelSpaceRecordId(drawing) == container;
}

} // namespace

std::uint32_t KzDxBlocks::countReferences(KzDbObjectId block, KzDbObjectId container, bool nested,
                                          KzDxIdSet& counted) {
    const KzDxBlock* const blockNode = node(block);
    if (blockNode == nullptr || node(container) == nullptr) return 0;
    // A block of `counted` counts as 0.
    if (nested) return counted.insert(block) ? countNested(*blockNode, container, counted) : 0;
    const KzDxContainers::Entry* const entry = blockNode->containers().find(container);
    return entry == nullptr ? 0 : entry->count;
}

/// The number of references of a block in `container`, including one level of nesting: each of its
/// containers counts as often as it is placed in `container`.
std::uint32_t KzDxBlocks::countNested(const KzDxBlock& node, KzDbObjectId container, KzDxIdSet& counted) {
    std::uint32_t sum = 0;
    for (const KzDxContainers::Entry& entry : node.containers()) {
        KzDbObjectId placedIn = entry.container;
        // The record may have become the model space of that drawing after it was read.
        if (isForeignModelSpace(placedIn, database())) placedIn = xrefBlockOf(placedIn);
        if (!placedIn.isValid() || placedIn.isErased() || placedIn.isEffectivelyErased()) continue;
        const std::uint32_t times =
            placedIn == container ? 1 : countReferences(placedIn, container, false, counted);
        sum += entry.count * times;
    }
    return sum;
}

std::uint32_t KzDxBlocks::countReferencesIn(KzDbObjectId block, KzDbObjectId container, bool nested) {
    KzDxIdSet counted;
    return countReferences(block, container, nested, counted);
}

std::uint32_t KzDxBlocks::countReferencesInLayouts(KzDbObjectId block, bool modelSpaceOnly, bool nested) {
    if (modelSpaceOnly) return countReferencesIn(block, modelSpaceId_, nested);
    std::uint32_t sum = 0;
    for (const KzDbObjectId layout : layoutIds()) sum += countReferencesIn(block, layout, nested);
    return sum;
}

Orvo::ErrorStatus KzDxBlocks::collectNestedBlocks(KzDbObjectId block, bool recursive, KzDxIdSet& found,
                                                  KzDxIdSet& visited) {
    currentNesting().collect(block, recursive, found, visited);
    return Orvo::ok;
}

Orvo::ErrorStatus KzDxBlocks::getNestedBlocks(KzDbObjectId block, bool recursive, KzDxIdSet& found) {
    KzDxIdSet visited;
    return collectNestedBlocks(block, recursive, found, visited);
}

KzDxBlockNesting& KzDxBlocks::currentNesting() {
    nesting_.prepare(store_.nodes());
    return nesting_;
}
