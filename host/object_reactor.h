#pragma once

/// @file
/// Who hears of objects.

#include "host/ids.h"
#include "host/runtime_class.h"

class KzDbObject;

/// Hears what happens to the objects whose reactors it was added to. A client may derive reactors of its own,
/// and removes them before it is unloaded.
///
/// A reactor may add and remove reactors of the object that it is told about; it opens no objects and changes
/// no drawing. The order of the operations is part of the host's interface; those that are said to keep their
/// slot are not sent.
///
///     struct CountEdits : KzDbObjectReactor {
///         void modified(const KzDbObject*) override { ++count; }
///         int count = 0;
///     };
class KzDbObjectReactor : public KzRxObject {
public:
    virtual void cancelled(const KzDbObject*) {} ///< keeps its slot
    /// `copy` was made of the object; it has no owner and no reactors yet.
    virtual void copied(const KzDbObject* /*object*/, const KzDbObject* /*copy*/) {}
    /// The object was erased, or its erasure was taken back.
    virtual void erased(const KzDbObject*, bool /*isErasing*/) {}
    /// The object leaves memory: its id is not valid afterwards. The last chance to leave it.
    virtual void goodbye(const KzDbObject*) {}
    /// An edit is about to change the object: once per edit, before the change.
    virtual void aboutToChange(const KzDbObject*) {}
    /// The object was changed.
    virtual void modified(const KzDbObject*) {}
    /// Keep their slots.
    /// @{
    virtual void subObjModified(const KzDbObject*, const KzDbObject* /*subObject*/) {}
    virtual void modifyUndone(const KzDbObject*) {}
    virtual void modifiedXData(const KzDbObject*) {}
    virtual void unappended(const KzDbObject*) {}
    virtual void reappended(const KzDbObject*) {}
    /// @}
    /// The object was closed after somebody had opened it for write.
    virtual void objectClosed(KzDbObjectId) {}
};
