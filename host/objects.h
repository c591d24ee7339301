#pragma once

/// @file
/// The base of all objects of a drawing, and how they are opened.

#include "host/ids.h"
#include "host/runtime_class.h"
#include "host/status.h"

#include <cstdint>

class KzDbObjectReactor;

/// Constants of objects of a drawing.
namespace KzDb {

/// How a module opens an object. Any number of openings share an object; while it is being edited, or is
/// open for write, all other attempts to open it fail.
enum class OpenMode : std::int32_t {
    forRead = 0,   ///< to read
    forNotify = 2, ///< to change its reactors
};

} // namespace KzDb

/// An object of a drawing. A pointer to it is valid while it is open. Clients read with
/// it, and keep nothing open when they return to the host. `Zelvane::Opened` closes what it opens:
///
///     const Zelvane::Opened<KzDbObject> object(id);
///     if (object && object->isA()->isDerivedFrom(KzDbBlockReference::desc())) std::puts("a reference");
class KzDbObject : public KzRxObject {
public:
    [[nodiscard]] KZHOST_API static KzRxClass* desc(); ///< describes the class

    /// The object's id; null for an object that belongs to no drawing.
    [[nodiscard]] virtual KzDbObjectId objectId() const = 0;

    /// The id of the object that owns this one: the record of a reference, the reference of an attribute.
    [[nodiscard]] virtual KzDbObjectId ownerId() const = 0;

    /// Ends one opening. An object whose id is null is deleted by the caller instead.
    virtual Orvo::ErrorStatus close() = 0;

    /// Adds a reactor, which is not owned and must be removed before it is destroyed. Adding a reactor again
    /// has no effect. The object must be open for notify, or be the subject of a notification;
    /// otherwise the call has no effect.
    virtual void addReactor(KzDbObjectReactor* reactor) const = 0;

    /// Removes a reactor; has no effect if it is not there. Conditions as for `addReactor`; allowed from
    /// within a notification, which then skips the removed reactor.
    virtual void removeReactor(KzDbObjectReactor* reactor) const = 0;
};

/// Opens an object of class `expected` or of a derived class. On success `object` is open until `close`;
/// otherwise it is null. O(1).
///
///     KzDbObject* object = nullptr;
///     const KzRxClass* const records = KzDbBlockTableRecord::desc();
///     if (kzdbOpenKzDbObject(object, id, KzDb::OpenMode::forRead, records, false) == Orvo::ok) {
///         std::puts(static_cast<KzDbBlockTableRecord*>(object)->isLayout() ? "a layout" : "a block");
///         static_cast<void>(object->close());
///     }
///
/// Statuses: `invalidObjectId` for an id that is not valid, `wasErased` for an erased object unless
/// `openErased`, `wrongClass`, `heldOpenForWrite`, and `openedTooOften`.
KZHOST_API Orvo::ErrorStatus kzdbOpenKzDbObject(KzDbObject*& object, KzDbObjectId id, KzDb::OpenMode mode,
                                                const KzRxClass* expected, bool openErased);

/// The same for an object of any class.
KZHOST_API Orvo::ErrorStatus kzdbOpenKzDbObject(KzDbObject*& object, KzDbObjectId id, KzDb::OpenMode mode,
                                                bool openErased);
