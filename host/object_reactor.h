#pragma once

/// @file
/// Observers of objects.

#include "host/ids.h"
#include "host/runtime_class.h"

class KzDbObject;

/// Observer of the objects whose reactors it was added to. A client may derive reactors of its own,
/// and removes them before it is unloaded.
///
/// A reactor may add and remove reactors of the object that it is notified of; it opens no objects and
/// changes no drawing. The order of the operations is part of the host's interface; reserved operations are
/// not called.
///
///     struct CountEdits : KzDbObjectReactor {
///         void modified(const KzDbObject*) override { ++count; }
///         int count = 0;
///     };
class KzDbObjectReactor : public KzRxObject {
public:
    virtual void cancelled(const KzDbObject*) {} ///< reserved
    /// The object was copied. `copy` has no owner and no reactors yet.
    virtual void copied(const KzDbObject* /*object*/, const KzDbObject* /*copy*/) {}
    /// The object was erased or unerased.
    virtual void erased(const KzDbObject*, bool /*isErasing*/) {}
    /// The object is about to be destroyed; afterwards its id is not valid. The last chance to remove the
    /// reactor.
    virtual void goodbye(const KzDbObject*) {}
    /// An edit is about to change the object. Called once per edit, before the change.
    virtual void aboutToChange(const KzDbObject*) {}
    /// The object was changed.
    virtual void modified(const KzDbObject*) {}
    /// Reserved.
    /// @{
    virtual void subObjModified(const KzDbObject*, const KzDbObject* /*subObject*/) {}
    virtual void modifyUndone(const KzDbObject*) {}
    virtual void modifiedXData(const KzDbObject*) {}
    virtual void unappended(const KzDbObject*) {}
    virtual void reappended(const KzDbObject*) {}
    /// @}
    /// The object was closed after it had been open for write.
    virtual void objectClosed(KzDbObjectId) {}
};
