#pragma once

/// @file
/// The parts of a drawing: the block table, its records, references and attributes.

#include "host/id_array.h"
#include "host/objects.h"

/// One drawing in memory, identified by its address. `zelvane/drawing.h` has the most common queries.
///
///     const KzDbDatabase* const drawing = document->database();
///     const Zelvane::Opened<KzDbBlockTable> table(drawing->blockTableId());
class KzDbDatabase {
public:
    KzDbDatabase() = default;
    KzDbDatabase(const KzDbDatabase&) = delete;
    KzDbDatabase& operator=(const KzDbDatabase&) = delete;
    virtual ~KzDbDatabase() = default;

    /// The drawing's block table.
    [[nodiscard]] virtual KzDbObjectId blockTableId() const = 0;
};

/// Iterates over the records of a block table in table order. Deleted by the caller that obtained it.
///
///     for (each->start(true, true); !each->done(); each->step(true, true)) {
///         KzDbObjectId id;
///         if (each->getRecordId(id) == Orvo::ok) ids.append(id);
///     }
class KzDbBlockTableIterator {
public:
    KzDbBlockTableIterator() = default;
    KzDbBlockTableIterator(const KzDbBlockTableIterator&) = delete;
    KzDbBlockTableIterator& operator=(const KzDbBlockTableIterator&) = delete;
    virtual ~KzDbBlockTableIterator() = default;

    /// Goes to the first record that is not erased. The module passes true for both flags.
    virtual void start(bool, bool) = 0;
    /// Goes to the next record that is not erased. The module passes true for both flags.
    virtual void step(bool, bool) = 0;
    /// Whether the iterator is past the end; there is no current record then.
    [[nodiscard]] virtual bool done() const = 0;
    /// The id of the current record. On failure `id` is null.
    virtual Orvo::ErrorStatus getRecordId(KzDbObjectId& id) const = 0;
};

/// The table of a drawing's block definitions and layouts.
///
///     KzDbObjectId door;
///     if (table->getAt(u"Door", door, false) != Orvo::ok) std::puts("no doors here");
class KzDbBlockTable : public KzDbObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class

    /// Finds a record by name; if none is found, `id` is null. The module passes false for the flag.
    virtual Orvo::ErrorStatus getAt(const char16_t* name, KzDbObjectId& id, bool) const = 0;

    /// Makes an iterator, which the caller deletes. It is valid while the table is open. The module passes
    /// true for both flags.
    virtual Orvo::ErrorStatus newIterator(KzDbBlockTableIterator*& iterator, bool, bool) const = 0;
};

/// A block definition or a layout.
///
///     for (const KzDbBlockTableRecord& record : Zelvane::records(drawing)) {
///         if (record.isLayout()) std::puts(Zelvane::nameOf(record.objectId()).c_str());
///     }
class KzDbBlockTableRecord : public KzDbObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class

    /// Whether the record is anonymous, as representations and the records of tables are.
    [[nodiscard]] virtual bool isAnonymous() const = 0;
    /// Whether the record is a layout, for example model space, and not a block definition.
    [[nodiscard]] virtual bool isLayout() const = 0;
    /// Whether the record depends on an attached drawing.
    [[nodiscard]] virtual bool isDependent() const = 0;
    /// Whether the record represents an attached drawing as a whole.
    [[nodiscard]] virtual bool isFromExternalReference() const = 0;
    /// The attached drawing; null if there is none. The module passes false.
    [[nodiscard]] virtual KzDbDatabase* xrefDatabase(bool) const = 0;

    /// The record's name. It points into the record and is valid while the record is open.
    virtual Orvo::ErrorStatus getName(const char16_t*& name) const = 0;

    /// Appends the ids of the live references that insert this record, in order of creation. The module
    /// passes true for both flags.
    virtual Orvo::ErrorStatus getBlockReferenceIds(KzDbObjectIdArray& ids, bool, bool) const = 0;
    /// Appends the ids of the erased references that insert this record, in order of creation.
    virtual Orvo::ErrorStatus getErasedBlockReferenceIds(KzDbObjectIdArray& ids) const = 0;
};

/// Iterates over the ids of the objects that another object owns. Deleted by the caller that obtained it.
///
///     const std::unique_ptr<KzDbObjectIterator> each(reference.attributeIterator());
///     for (; each != nullptr && !each->done(); each->step(false, true)) ids.append(each->objectId());
class KzDbObjectIterator {
public:
    KzDbObjectIterator() = default;
    KzDbObjectIterator(const KzDbObjectIterator&) = delete;
    KzDbObjectIterator& operator=(const KzDbObjectIterator&) = delete;
    virtual ~KzDbObjectIterator() = default;

    /// Whether the iterator is past the end; there is no current object then.
    [[nodiscard]] virtual bool done() const = 0;
    /// The current object.
    [[nodiscard]] virtual KzDbObjectId objectId() const = 0;
    /// Goes to the next object that is not erased. The module passes false, then true.
    virtual void step(bool, bool) = 0;
};

/// A reference that inserts a block definition into its owner, a layout or another block definition.
///
///     for (const KzDbBlockReference& reference : Zelvane::references(door)) {
///         std::puts(Zelvane::nameOf(reference.ownerId()).c_str());
///     }
class KzDbBlockReference : public KzDbObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class

    /// An iterator over the attributes that are not erased; null if there are none. The caller deletes it.
    [[nodiscard]] virtual KzDbObjectIterator* attributeIterator() const = 0;
};

/// A text that belongs to one reference, under a tag. The module observes attributes without reading them;
/// the two queries are for other modules.
///
///     const Zelvane::Opened<KzDbAttribute> attribute(id);
///     if (attribute) std::puts(Zelvane::utf8(attribute->value()).c_str());
class KzDbAttribute : public KzDbObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class

    /// The tag and the text. Both point into the attribute and are valid while the attribute is open.
    /// @{
    [[nodiscard]] virtual const char16_t* tag() const = 0;
    [[nodiscard]] virtual const char16_t* value() const = 0;
    /// @}
};
