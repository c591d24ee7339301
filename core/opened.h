#pragma once

#include "host/objects.h"

/// A host object that is open as long as this stands.
///
/// Ask it whether the opening succeeded before using it. Nothing is kept open between operations of the
/// module, so these live on the stack only.
template <class T>
class KzDxOpened {
public:
    explicit KzDxOpened(KzDbObjectId id, KzDb::OpenMode mode = KzDb::OpenMode::forRead,
                        bool openErased = false) {
        static const KzRxClass* const expected = T::desc(); // asked once: an update opens every reference
        KzDbObject* object = nullptr;
        status_ = kzdbOpenKzDbObject(object, id, mode, expected, openErased);
        if (status_ == Orvo::ok) object_ = static_cast<T*>(object);
    }
    /// Takes over an object that the host has opened already; null stands for a failed opening.
    explicit KzDxOpened(T* object)
        : object_(object), status_(object == nullptr ? Orvo::missingCollaborator : Orvo::ok) {}

    ~KzDxOpened() {
        if (object_ == nullptr) return;
        if (object_->objectId().isNull()) {
            delete object_;
        } else {
            static_cast<void>(object_->close()); // nobody is left to tell
        }
    }
    KzDxOpened(const KzDxOpened&) = delete;
    KzDxOpened& operator=(const KzDxOpened&) = delete;

    explicit operator bool() const { return object_ != nullptr; }
    T* operator->() const { return object_; }
    [[nodiscard]] T* get() const { return object_; }
    [[nodiscard]] Orvo::ErrorStatus status() const { return status_; }

private:
    T* object_ = nullptr;
    Orvo::ErrorStatus status_ = Orvo::ok;
};
