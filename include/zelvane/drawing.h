#pragma once

/// @file
/// Common queries of a drawing, in one call each.

#include "host/block_table.h"
#include "host/documents.h"
#include "host/enhanced_block.h"
#include "host/symbol_utilities.h"
#include "zelvane/block_table_walk.h"
#include "zelvane/names.h"
#include "zelvane/opened.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

/// Queries of drawings. A null drawing counts as empty, and so does an object that cannot be opened.
namespace Zelvane {

/// The current document; null if there is none.
[[nodiscard]] inline KzApDocument* currentDocument() {
    const KzApDocManager* const manager = kzDocManagerPtr();
    return manager != nullptr ? manager->currentDocument() : nullptr;
}

/// Whether an address is that of an open document. The address is compared, not dereferenced, so it may be
/// that of a closed document.
[[nodiscard]] inline bool isOpen(const KzApDocument* document) {
    const KzApDocManager* const manager = kzDocManagerPtr();
    if (document == nullptr || manager == nullptr) return false;
    if (manager->currentDocument() == document) return true;
    const std::unique_ptr<KzApDocumentIterator> each(manager->newDocumentIterator());
    while (each != nullptr && !each->done()) {
        if (each->document() == document) return true;
        each->step();
    }
    return false;
}

/// The drawing of a document; null if the document is null or has no drawing.
[[nodiscard]] inline KzDbDatabase* drawingOf(const KzApDocument* document) {
    return document != nullptr ? document->database() : nullptr;
}

/// Converts any range of ids to the array type of the exports: `idArray(std::set{door, window})`.
template <class Ids>
[[nodiscard]] KzDbObjectIdArray idArray(const Ids& ids) {
    KzDbObjectIdArray array;
    for (const KzDbObjectId id : ids) array.append(id);
    return array;
}

namespace detail {

/// Appends the ids of the block table records, including layouts. False if not all of them can be read now.
[[nodiscard]] inline bool appendRecordIds(const KzDbDatabase& drawing, KzDbObjectIdArray& ids) {
    bool isComplete = true;
    const bool isWalked = forEachRecordId(drawing, [&](KzDbObjectId id) {
        if (!id.isNull()) ids.append(id);
        isComplete = isComplete && !id.isNull();
        return true;
    });
    return isWalked && isComplete;
}

/// Appends the ids of the block definitions: the records that are not layouts. False if not all of them can
/// be read now.
[[nodiscard]] inline bool appendBlockIds(const KzDbDatabase& drawing, KzDbObjectIdArray& ids) {
    KzDbObjectIdArray records;
    bool isComplete = appendRecordIds(drawing, records);
    for (const KzDbObjectId id : records) {
        const Opened<KzDbBlockTableRecord> record(id);
        if (record && !record->isLayout()) ids.append(id);
        if (!record) isComplete = false;
    }
    return isComplete;
}

} // namespace detail

/// The ids of the block table records, including layouts, in table order.
[[nodiscard]] inline KzDbObjectIdArray recordIds(const KzDbDatabase* drawing) {
    KzDbObjectIdArray ids;
    if (drawing != nullptr) static_cast<void>(detail::appendRecordIds(*drawing, ids));
    return ids;
}

/// The block table records, including layouts. Each is open during its loop iteration.
[[nodiscard]] inline OpenedEach<KzDbBlockTableRecord> records(const KzDbDatabase* drawing) {
    return OpenedEach<KzDbBlockTableRecord>(recordIds(drawing));
}

/// The ids of the block definitions: the records that are not layouts.
[[nodiscard]] inline KzDbObjectIdArray blockIds(const KzDbDatabase* drawing) {
    KzDbObjectIdArray ids;
    if (drawing != nullptr) static_cast<void>(detail::appendBlockIds(*drawing, ids));
    return ids;
}

/// The record of that name (UTF-8), a block definition or a layout; null if there is none.
[[nodiscard]] inline KzDbObjectId findBlock(const KzDbDatabase* drawing, std::string_view name) {
    KzDbObjectId id;
    if (drawing == nullptr) return id;
    const Opened<KzDbBlockTable> table(drawing->blockTableId());
    if (table && table->getAt(utf16(name).c_str(), id, false) != Orvo::ok) id = KzDbObjectId();
    return id;
}

/// Former name of `findBlock`.
[[deprecated("use findBlock")]] [[nodiscard]] inline KzDbObjectId blockNamed(const KzDbDatabase* drawing,
                                                                             std::string_view name) {
    return findBlock(drawing, name);
}

/// The model-space record of a drawing; null if there is none.
[[nodiscard]] inline KzDbObjectId modelSpaceId(const KzDbDatabase* drawing) {
    const KzDbSymbolUtilities::Services* const services = KzDbSymbolUtilities::servicesPtr106();
    return drawing != nullptr && services != nullptr ? services->modelSpaceRecordId(drawing) : KzDbObjectId();
}

/// The name of a record, in UTF-8; empty if the record cannot be opened.
[[nodiscard]] inline std::string nameOf(KzDbObjectId record) {
    const Opened<KzDbBlockTableRecord> opened(record);
    const char16_t* name = nullptr;
    return opened && opened->getName(name) == Orvo::ok ? utf8(name) : std::string();
}

namespace detail {

/// The representation protocol of an object or a class; null if there is none.
template <class Asked>
[[nodiscard]] const KzDbBlockRepresentation* representationProtocol(const Asked& asked) {
    const KzRxObject* const protocol = asked.queryX(KzDbBlockRepresentation::desc());
    const bool isOne = protocol != nullptr && protocol->isA()->isDerivedFrom(KzDbBlockRepresentation::desc());
    return isOne ? static_cast<const KzDbBlockRepresentation*>(protocol) : nullptr;
}

/// Appends the live references that insert a record. False if they cannot be read now. A record that is
/// erased or no longer exists has none.
[[nodiscard]] inline bool appendReferences(KzDbObjectId record, KzDbObjectIdArray& ids) {
    const Opened<KzDbBlockTableRecord> opened(record);
    if (!opened) return !record.isValid() || record.isErased();
    return opened->getBlockReferenceIds(ids, true, true) == Orvo::ok;
}

/// Appends the records that represent a block. False if they cannot be read now.
[[nodiscard]] inline bool appendRepresentations(KzDbObjectId block, KzDbObjectIdArray& ids) {
    const KzDbBlockRepresentation* const protocol = representationProtocol(*KzDbBlockReference::desc());
    if (protocol == nullptr) return false;
    return protocol->getRepresentations(block, ids) == Orvo::ok || !block.isValid();
}

} // namespace detail

/// The ids of the live references of a block, in order of creation. For an enhanced block, the references
/// of each of its representations follow.
[[nodiscard]] inline KzDbObjectIdArray referenceIds(KzDbObjectId block) {
    KzDbObjectIdArray records;
    records.append(block);
    KzDbObjectIdArray ids;
    static_cast<void>(detail::appendRepresentations(block, records)); // failed: it has none
    for (const KzDbObjectId record : records) {
        static_cast<void>(detail::appendReferences(record, ids)); // failed: it has none
    }
    return ids;
}

/// The live references of a block, in the order of `referenceIds`. Each is open during its loop iteration.
[[nodiscard]] inline OpenedEach<KzDbBlockReference> references(KzDbObjectId block) {
    return OpenedEach<KzDbBlockReference>(referenceIds(block));
}

/// The enhanced block that a record represents; null for every other record. O(1) if a live reference of
/// the record can be opened; otherwise the representations of all blocks of the drawing are read.
[[nodiscard]] inline KzDbObjectId enhancedBlockOf(KzDbObjectId record) {
    KzDbObjectIdArray own;
    static_cast<void>(detail::appendReferences(record, own)); // on failure, the blocks are read
    for (const KzDbBlockReference& reference : OpenedEach<KzDbBlockReference>(std::move(own))) {
        const KzDbBlockRepresentation* const protocol = detail::representationProtocol(reference);
        return protocol != nullptr ? protocol->originalBlockTableRecord(&reference) : KzDbObjectId();
    }
    for (const KzDbObjectId block : recordIds(record.database())) {
        KzDbObjectIdArray representations;
        if (!detail::appendRepresentations(block, representations)) continue;
        for (const KzDbObjectId each : representations) {
            if (each == record) return block;
        }
    }
    return {};
}

/// The record of a drawing that represents another drawing attached to it; the first if there are several,
/// null if there is none.
[[nodiscard]] inline KzDbObjectId attachmentOf(const KzDbDatabase* drawing, const KzDbDatabase* attached) {
    for (const KzDbBlockTableRecord& record : records(drawing)) {
        if (record.isFromExternalReference() && record.xrefDatabase(false) == attached) {
            return record.objectId();
        }
    }
    return {};
}

} // namespace Zelvane
