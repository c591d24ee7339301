#pragma once

/// @file
/// Enhanced blocks, and the anonymous records that stand for them.

#include "host/block_table.h"

/// The protocol between an enhanced block and the anonymous records that represent it.
///
/// The class of block references keeps one such object for all, which it answers at any time
/// (`KzRxClass::queryX`). A single reference answers `KzRxObject::queryX` with that object only while the
/// record that it inserts is a representation, whenever the reference was made. `Zelvane::referenceIds` and
/// `Zelvane::enhancedBlockOf` ask it:
///
///     const KzDbObjectIdArray all = Zelvane::referenceIds(enhanced); // those of its representations, too
class KzDbBlockRepresentation : public KzRxObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class

    /// Appends the ids of the records that represent `block`, erased ones too, in the host's order.
    virtual Orvo::ErrorStatus getRepresentations(KzDbObjectId block, KzDbObjectIdArray& ids) const = 0;

    /// The enhanced block whose representation `reference` inserts; null when it inserts none.
    [[nodiscard]] virtual KzDbObjectId
    originalBlockTableRecord(const KzDbBlockReference* reference) const = 0;
};

/// What makes a block enhanced: an evaluation graph. Only its presence matters to the module.
///
///     KzDbEvalGraph* graph = nullptr;
///     const bool isEnhanced =
///         KzDbEvalGraph::getGraph(&*record, key, graph, KzDb::OpenMode::forRead) == Orvo::ok;
///     if (isEnhanced) static_cast<void>(graph->close());
class KzDbEvalGraph : public KzDbObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class

    /// Opens the graph that `object` carries under `key`; another status than 0 when it carries none, and
    /// `graph` is null.
    KZHOST_API static Orvo::ErrorStatus getGraph(const KzDbObject* object, const char16_t* key,
                                                 KzDbEvalGraph*& graph, KzDb::OpenMode mode);
};
