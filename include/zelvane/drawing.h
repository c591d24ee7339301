#pragma once

/// @file
/// Looking into a drawing: what clients ask most, in a call each.

#include "host/block_table.h"
#include "host/documents.h"
#include "host/enhanced_block.h"
#include "host/symbol_utilities.h"
#include "zelvane/names.h"
#include "zelvane/opened.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

/// Looking into a drawing. A null drawing is empty, and so is what does not open.
namespace Zelvane {

/// The document that the user works in; null when there is none.
[[nodiscard]] inline KzApDocument* currentDocument() {
    const KzApDocManager* const manager = kzDocManagerPtr();
    return manager != nullptr ? manager->currentDocument() : nullptr;
}

/// Whether this is the address of an open document. The address is compared and not used, so that it may be
/// one of a document that has closed.
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

/// The drawing of a document; null without a document, and for one without a drawing.
[[nodiscard]] inline KzDbDatabase* drawingOf(const KzApDocument* document) {
    return document != nullptr ? document->database() : nullptr;
}

/// An array of ids from any range of ids, as the exports take it: `idArray(std::set{door, window})`.
template <class Ids>
[[nodiscard]] KzDbObjectIdArray idArray(const Ids& ids) {
    KzDbObjectIdArray array;
    for (const KzDbObjectId id : ids) array.append(id);
    return array;
}

/// The ids of the block table records, layouts too, in the order of the table.
[[nodiscard]] inline KzDbObjectIdArray recordIds(const KzDbDatabase* drawing) {
    KzDbObjectIdArray ids;
    if (drawing == nullptr) return ids;
    const Opened<KzDbBlockTable> table(drawing->blockTableId());
    KzDbBlockTableIterator* made = nullptr;
    if (!table || table->newIterator(made, true, true) != Orvo::ok) return ids;
    const std::unique_ptr<KzDbBlockTableIterator> each(made);
    for (each->start(true, true); !each->done(); each->step(true, true)) {
        KzDbObjectId id;
        if (each->getRecordId(id) == Orvo::ok) ids.append(id);
    }
    return ids;
}

/// The block table records, layouts too, each open while the loop is at it.
[[nodiscard]] inline OpenedEach<KzDbBlockTableRecord> records(const KzDbDatabase* drawing) {
    return OpenedEach<KzDbBlockTableRecord>(recordIds(drawing));
}

/// The ids of the block definitions: the records without the layouts.
[[nodiscard]] inline KzDbObjectIdArray blockIds(const KzDbDatabase* drawing) {
    KzDbObjectIdArray ids;
    for (const KzDbBlockTableRecord& record : records(drawing)) {
        if (!record.isLayout()) ids.append(record.objectId());
    }
    return ids;
}

/// The record of that name (UTF-8), a block definition or a layout; null when there is none.
[[nodiscard]] inline KzDbObjectId blockNamed(const KzDbDatabase* drawing, std::string_view name) {
    KzDbObjectId id;
    if (drawing == nullptr) return id;
    const Opened<KzDbBlockTable> table(drawing->blockTableId());
    if (table && table->getAt(utf16(name).c_str(), id, false) != Orvo::ok) id = KzDbObjectId();
    return id;
}

/// The model-space record of a drawing; null when there is none.
[[nodiscard]] inline KzDbObjectId modelSpaceId(const KzDbDatabase* drawing) {
    const KzDbSymbolUtilities::Services* const services = KzDbSymbolUtilities::servicesPtr106();
    return drawing != nullptr && services != nullptr ? services->modelSpaceRecordId(drawing) : KzDbObjectId();
}

/// The name of a record, in UTF-8; empty when it does not open.
[[nodiscard]] inline std::string nameOf(KzDbObjectId record) {
    const Opened<KzDbBlockTableRecord> opened(record);
    const char16_t* name = nullptr;
    return opened && opened->getName(name) == Orvo::ok ? utf8(name) : std::string();
}

/// The ids of the live references of a block, in order of creation. With the references of an enhanced
/// block, those of its anonymous representations come after its own, representation by representation.
[[nodiscard]] inline KzDbObjectIdArray referenceIds(KzDbObjectId block) {
    KzDbObjectIdArray all;
    all.append(block);
    const KzRxObject* const protocol = KzDbBlockReference::desc()->queryX(KzDbBlockRepresentation::desc());
    if (protocol != nullptr && protocol->isA()->isDerivedFrom(KzDbBlockRepresentation::desc())) {
        const auto& representation = static_cast<const KzDbBlockRepresentation&>(*protocol);
        static_cast<void>(representation.getRepresentations(block, all)); // failed: it has none
    }
    KzDbObjectIdArray ids;
    for (const KzDbBlockTableRecord& record : OpenedEach<KzDbBlockTableRecord>(std::move(all))) {
        static_cast<void>(record.getBlockReferenceIds(ids, true, true)); // failed: it has none
    }
    return ids;
}

/// The live references of a block, as `referenceIds` gives them, each open while the loop is at it.
[[nodiscard]] inline OpenedEach<KzDbBlockReference> references(KzDbObjectId block) {
    return OpenedEach<KzDbBlockReference>(referenceIds(block));
}

/// The enhanced block that a record represents; null for every other record.
[[nodiscard]] inline KzDbObjectId enhancedBlockOf(KzDbObjectId record) {
    for (const KzDbBlockReference& reference : references(record)) {
        const KzRxObject* const protocol = reference.queryX(KzDbBlockRepresentation::desc());
        if (protocol == nullptr || !protocol->isA()->isDerivedFrom(KzDbBlockRepresentation::desc())) continue;
        return static_cast<const KzDbBlockRepresentation*>(protocol)->originalBlockTableRecord(&reference);
    }
    return {};
}

/// The record of a drawing that stands for another drawing attached to it; the first of several, null when
/// there is none.
[[nodiscard]] inline KzDbObjectId attachmentOf(const KzDbDatabase* drawing, const KzDbDatabase* attached) {
    for (const KzDbBlockTableRecord& record : records(drawing)) {
        if (record.isFromExternalReference() && record.xrefDatabase(false) == attached) {
            return record.objectId();
        }
    }
    return {};
}

} // namespace Zelvane
