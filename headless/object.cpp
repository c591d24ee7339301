#include "headless/object.h"

#include "headless/drawing.h"
#include "headless/faults.h"
#include "headless/inspection.h"
#include "headless/modules.h"
#include "headless/reference.h"

#include <cassert>

namespace Headless {

/// Never destroyed: modules may call until the process ends.
ObjectTable& objectTable = *new ObjectTable;
std::unordered_map<const KzRxObject*, const void*>& reactorCodes =
    *new std::unordered_map<const KzRxObject*, const void*>;

/// Downcast by kind, because `Object` is not a base of the host's interfaces and has no virtual functions.
/// Each kind has one class, which derives from both.
KzDbObject* Object::hostObject() {
    switch (kind_) {
    case Kind::table:
        return static_cast<BlockTable*>(this);
    case Kind::record:
        return static_cast<Record*>(this);
    case Kind::reference:
        return static_cast<Reference*>(this);
    case Kind::attribute:
        return static_cast<Attribute*>(this);
    case Kind::graph:
        return static_cast<Graph*>(this);
    case Kind::none:
        break;
    }
    return nullptr;
}

void Object::notifyAboutToChange() {
    notify("aboutToChange", [this](KzDbObjectReactor* reactor) { reactor->aboutToChange(hostObject()); });
}

void Object::notifyClosed() {
    notify("objectClosed", [this](KzDbObjectReactor* reactor) { reactor->objectClosed(id()); });
}

TraceEvent Object::notificationEvent(const char* name) const {
    const auto reactors = static_cast<std::int64_t>(reactorCount());
    return {TraceCategory::notification, name, describeObject(id_), {{"reactors", reactors}}};
}

/// Counts held objects, because no module can be unloaded while any object is held.
void Object::hold() {
    beginWriting();
    isHeld_ = true;
    ++held;
}

void Object::releaseHold() {
    endWriting();
    isHeld_ = false;
    --held;
}

Orvo::ErrorStatus Object::close() {
    // `close` does not say which opening it ends. Openings for read end first, so that reactors can be
    // changed until the last opening for notification ends.
    if (readers_ != 0) {
        --readers_;
    } else if (notifiers_ != 0) {
        --notifiers_;
    } else {
        reportUsageError("close of an object that is not open");
        return Orvo::notProvidedFor;
    }
    // The last opening has ended. Members must not be used after this.
    if (isRemoved_ && !isOpen()) delete hostObject();
    return Orvo::ok;
}

void Object::destroy() {
    // From here on the object cannot be found, so it cannot be opened again.
    assert(activeNotifications_ == 0);
    objectTable.forget(id_);
    if (isHeld_) releaseHold();
    // Deleted now or by the last `close`. No notification is active, so the end of one need not delete it.
    isRemoved_ = true;
    if (!isOpen()) delete hostObject();
}

} // namespace Headless

bool KzDbObjectId::isValid() const {
    return Headless::objectTable.find(*this) != nullptr;
}

bool KzDbObjectId::isErased() const {
    const Headless::Object* const object = Headless::objectTable.find(*this);
    return object != nullptr && object->isErased();
}

bool KzDbObjectId::isEffectivelyErased() const {
    const Headless::Object* object = Headless::objectTable.find(*this);
    // Follows the owners. Block tables, and copies that are not placed yet, have no owner.
    while (object != nullptr && !object->isErased()) object = Headless::objectTable.find(object->owner());
    return object != nullptr;
}

KzDbDatabase* KzDbObjectId::database() const {
    const Headless::Object* const object = Headless::objectTable.find(*this);
    return object != nullptr ? &object->drawing() : nullptr;
}

/// The order of the checks matters: a usage error is not counted by `failHostCall`, and the object is
/// opened last.
Orvo::ErrorStatus kzdbOpenKzDbObject(KzDbObject*& object, KzDbObjectId id, KzDb::OpenMode mode,
                                     const KzRxClass* expected, bool openErased) {
    object = nullptr;
    const bool isMode = mode == KzDb::OpenMode::forRead || mode == KzDb::OpenMode::forNotify;
    if (!Headless::checkUsage(isMode && expected != nullptr,
                              "kzdbOpenKzDbObject with another mode or without a class")) {
        return Orvo::notProvidedFor;
    }
    if (Headless::shouldFail(Headless::HostCall::openObject)) return Headless::faultStatus();
    Headless::Object* const found = Headless::objectTable.find(id);
    if (found == nullptr) return Orvo::invalidObjectId;
    if (found->isErased() && !openErased) return Orvo::wasErased;
    if (!Headless::classOf(found->kind())->isDerivedFrom(expected)) return Orvo::wrongClass;
    const Orvo::ErrorStatus status = found->open(mode);
    if (status == Orvo::ok) object = found->hostObject();
    return status;
}

Orvo::ErrorStatus kzdbOpenKzDbObject(KzDbObject*& object, KzDbObjectId id, KzDb::OpenMode mode,
                                     bool openErased) {
    return kzdbOpenKzDbObject(object, id, mode, KzDbObject::desc(), openErased);
}
