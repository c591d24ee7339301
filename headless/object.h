#pragma once

#include "headless/inspection.h"
#include "headless/modules.h"
#include "headless/trace.h"
#include "host/object_reactor.h"
#include "host/objects.h"
#include "zelvane/call_list.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <unordered_map>
#include <vector>

namespace Headless {

class Drawing;
class Object;

/// The objects of all drawings by id. Does not own them. An id is a position in this table; positions are
/// assigned in ascending order and never reused, so any number can be looked up safely.
class ObjectTable {
public:
    ObjectTable() : entries_(1, nullptr) {} // the null id finds nothing

    [[nodiscard]] KzDbObjectId add(Object* object) {
        entries_.push_back(object);
        return lastId();
    }
    void forget(KzDbObjectId id) { entries_[id.value()] = nullptr; }

    /// Null if no object in memory has the id.
    [[nodiscard]] Object* find(KzDbObjectId id) const {
        return id.value() < entries_.size() ? entries_[id.value()] : nullptr;
    }

    [[nodiscard]] KzDbObjectId lastId() const { return KzDbObjectId(entries_.size() - 1); }

    /// Calls `call(object)` for each object from the id `first` on, in order of creation. `call` may remove
    /// objects from memory; objects that it creates are not visited.
    template <class Call>
    void forEach(KzDbObjectId first, Call call) const {
        const std::size_t end = entries_.size();
        for (std::size_t at = first.value(); at < end; ++at) {
            if (Object* const object = entries_[at]) call(*object);
        }
    }

private:
    std::vector<Object*> entries_;
};

// Never destroyed: modules may call until the process ends.
extern ObjectTable& objectTable;

/// The vtable of each reactor that was ever registered. It identifies the library that contains the code of
/// a reactor; a reactor that is still registered when its library is closed may already be destroyed.
extern std::unordered_map<const KzRxObject*, const void*>& reactorCodes;

inline void addReactorCode(const KzRxObject* reactor) {
    reactorCodes[reactor] = *reinterpret_cast<const void* const*>(reactor);
}

/// The common part of all objects of a drawing, apart from the host's interfaces: id, owner, openings and
/// reactors.
///
/// An object that is removed from memory while it is open can no longer be found by its id, and is deleted
/// when it is closed for the last time.
class Object {
public:
    Object(Kind kind, Drawing& drawing, KzDbObjectId owner)
        : id_(objectTable.add(this)), owner_(owner), drawing_(&drawing), kind_(kind) {}
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    [[nodiscard]] KzDbObjectId id() const { return id_; }
    [[nodiscard]] KzDbObjectId owner() const { return owner_; }
    [[nodiscard]] Drawing& drawing() const { return *drawing_; }
    [[nodiscard]] Kind kind() const { return kind_; }
    [[nodiscard]] bool isErased() const { return isErased_; }
    [[nodiscard]] std::size_t reactorCount() const { return reactors_.size(); }

    void setOwner(KzDbObjectId owner) { owner_ = owner; }
    void setErased(bool isErased) { isErased_ = isErased; }

    /// The same object as modules use it.
    [[nodiscard]] KzDbObject* hostObject();

    // ---- openings
    /// An object whose reactors are being notified counts as open for read.
    [[nodiscard]] bool isOpen() const {
        return isWriting_ || readers_ != 0 || notifiers_ != 0 || activeNotifications_ != 0;
    }
    [[nodiscard]] std::size_t openCount() const {
        return std::size_t{readers_} + notifiers_ + (isWriting_ ? 1 : 0);
    }
    [[nodiscard]] bool isHeld() const { return isHeld_; }

    /// `mode` must be `forRead` or `forNotify`.
    Orvo::ErrorStatus open(KzDb::OpenMode mode) {
        if (isWriting_) return Orvo::heldOpenForWrite;
        return countUp(mode == KzDb::OpenMode::forRead ? readers_ : notifiers_);
    }
    /// Ends one opening. If this was the last one and the object was removed from memory, deletes the
    /// object.
    Orvo::ErrorStatus close();

    // Openings of the host itself, for edits and scripts, which `close` does not end. The object must not
    // be open.
    void beginWriting() { isWriting_ = true; }
    void endWriting() { isWriting_ = false; }
    void hold();
    void releaseHold();
    [[nodiscard]] static std::size_t heldCount() { return held; }

    /// Removes the object from memory: makes the id invalid, and deletes the object as soon as it is not
    /// open.
    void destroy();

    // ---- reactors
    void addReactor(KzDbObjectReactor* reactor) {
        if (!mayChangeReactors(reactor, "addReactor")) return;
        addReactorCode(reactor);
        reactors_.add(reactor);
    }
    void removeReactor(KzDbObjectReactor* reactor) {
        if (mayChangeReactors(reactor, "removeReactor")) reactors_.remove(reactor);
    }
    template <class Predicate>
    void dropReactors(Predicate isUnwanted) {
        reactors_.removeIf(isUnwanted);
    }

    void notifyAboutToChange();
    void notifyClosed();
    /// Calls `call(reactor)` for each reactor. `notification` is for traces.
    template <class Call>
    void notify(const char* notification, Call call) {
        const TraceScope trace([&] { return notificationEvent(notification); });
        if (reactors_.size() == 0) return;
        const ModuleCall guard;
        ++activeNotifications_;
        reactors_.callEach(call);
        --activeNotifications_;
    }

protected:
    ~Object() = default;

private:
    [[nodiscard]] TraceEvent notificationEvent(const char* name) const;

    /// Returns an error instead of overflowing.
    static Orvo::ErrorStatus countUp(std::uint16_t& count) {
        if (count == std::numeric_limits<std::uint16_t>::max()) return Orvo::openedTooOften;
        ++count;
        return Orvo::ok;
    }

    [[nodiscard]] bool mayChangeReactors(const KzDbObjectReactor* reactor, const char* call) const {
        return checkUsage(reactor != nullptr && (notifiers_ != 0 || activeNotifications_ != 0), call);
    }

    static inline std::size_t held = 0;

    KzDbObjectId id_;
    KzDbObjectId owner_;
    Drawing* drawing_;
    Zelvane::CallList<KzDbObjectReactor*> reactors_;
    std::uint16_t readers_ = 0;
    std::uint16_t notifiers_ = 0;
    std::uint16_t activeNotifications_ = 0;
    Kind kind_;
    bool isErased_ : 1 = false;
    bool isWriting_ : 1 = false;
    bool isHeld_ : 1 = false;
    bool isRemoved_ : 1 = false;
};

/// An object that implements one of the host's interfaces.
template <class Interface>
class ObjectOf : public Interface, public Object {
public:
    using Object::Object;

    [[nodiscard]] KzRxClass* isA() const override { return Interface::desc(); }
    [[nodiscard]] KzDbObjectId objectId() const override { return id(); }
    [[nodiscard]] KzDbObjectId ownerId() const override { return owner(); }
    Orvo::ErrorStatus close() override { return Object::close(); }
    // Const in the host's interface, because modules change the reactors of the const objects that
    // notifications pass.
    void addReactor(KzDbObjectReactor* reactor) const override { self().Object::addReactor(reactor); }
    void removeReactor(KzDbObjectReactor* reactor) const override { self().Object::removeReactor(reactor); }

private:
    [[nodiscard]] Object& self() const { return const_cast<ObjectOf&>(*this); }
};

/// A position in a list of ids: at an object that is not erased, or at the end. The list is borrowed and
/// may grow; its owner must stay open meanwhile.
class LivePosition {
public:
    explicit LivePosition(const std::vector<KzDbObjectId>& ids) : ids_(ids) { toStart(); }

    [[nodiscard]] bool isAtEnd() const { return at_ >= ids_.size(); }
    /// Null at the end.
    [[nodiscard]] KzDbObjectId id() const { return isAtEnd() ? KzDbObjectId() : ids_[at_]; }
    void toStart() { moveTo(0); }
    void toNext() { moveTo(isAtEnd() ? at_ : at_ + 1); }
    void toEnd() { at_ = ids_.size(); }

private:
    void moveTo(std::size_t position) {
        at_ = position;
        while (!isAtEnd() && ids_[at_].isErased()) ++at_;
    }

    const std::vector<KzDbObjectId>& ids_;
    std::size_t at_ = 0;
};

/// The runtime class of the objects of one kind; null for `none`.
[[nodiscard]] KzRxClass* classOf(Kind kind);

/// The object of that id if it is a T, otherwise null. T is the class of a kind and has the kind as
/// `ownKind`.
template <class T>
[[nodiscard]] T* findAs(KzDbObjectId id) {
    Object* const object = objectTable.find(id);
    return object != nullptr && object->kind() == T::ownKind ? static_cast<T*>(object) : nullptr;
}

} // namespace Headless
