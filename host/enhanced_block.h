#pragma once

/// @file
/// Enhanced blocks, and the anonymous records that represent them.

#include "host/block_table.h"

/// The protocol between an enhanced block and the anonymous records that represent it.
///
/// The class of block references has one such object for all references, which it returns at any time
/// (`KzRxClass::queryX`). A single reference returns that object from `KzRxObject::queryX` only while the
/// record that it inserts is a representation, whenever the reference was created. `Zelvane::referenceIds`
/// and `Zelvane::enhancedBlockOf` use it:
///
///     const KzDbObjectIdArray all = Zelvane::referenceIds(enhanced); // including representations
class KzDbBlockRepresentation : public KzRxObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class

    /// Appends the ids of the records that represent `block`, including erased ones, in the host's order.
    virtual Orvo::ErrorStatus getRepresentations(KzDbObjectId block, KzDbObjectIdArray& ids) const = 0;

    /// The enhanced block whose representation `reference` inserts; null if it inserts none.
    [[nodiscard]] virtual KzDbObjectId
    originalBlockTableRecord(const KzDbBlockReference* reference) const = 0;
};

/// The evaluation graph that makes a block enhanced. The module only checks whether there is one.
///
///     KzDbEvalGraph* graph = nullptr;
///     const bool isEnhanced =
///         KzDbEvalGraph::getGraph(&*record, key, graph, KzDb::OpenMode::forRead) == Orvo::ok;
///     if (isEnhanced) static_cast<void>(graph->close());
class KzDbEvalGraph : public KzDbObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class

    /// Opens the graph that `object` has under `key`. If it has none, the status is not 0 and
    /// `graph` is null.
    KZHOST_API static Orvo::ErrorStatus getGraph(const KzDbObject* object, const char16_t* key,
                                                 KzDbEvalGraph*& graph, KzDb::OpenMode mode);
};
