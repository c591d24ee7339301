#pragma once

/// @file
/// Objects that are closed when they go out of scope.

#include "host/id_array.h"
#include "host/objects.h"

#include <cstddef>
#include <iterator>
#include <optional>
#include <utility>

namespace Zelvane {

/// Scope guard: a host object that is open as long as this stands.
///
///     const Zelvane::Opened<KzDbBlockTableRecord> record(id);
///     if (record && record->isLayout()) ...
///
/// Ask whether the opening succeeded before using the object. Keep it for the shortest time: as long as an
/// object is open, nobody can edit it.
template <class T>
class Opened {
public:
    /// Opens it; an erased one only with `openErased`.
    explicit Opened(KzDbObjectId id, KzDb::OpenMode mode = KzDb::OpenMode::forRead, bool openErased = false) {
        KzDbObject* object = nullptr;
        status_ = kzdbOpenKzDbObject(object, id, mode, T::desc(), openErased);
        if (status_ == Orvo::ok) object_ = static_cast<T*>(object);
    }
    ~Opened() {
        if (object_ == nullptr) return;
        if (object_->objectId().isNull()) {
            delete object_;
        } else {
            static_cast<void>(object_->close()); // there is nothing to be done about a failure
        }
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;

    /// Whether it is open.
    explicit operator bool() const { return object_ != nullptr; }
    /// The object. Only when it is open.
    /// @{
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    /// @}
    /// Why the object did not open; 0 when it did.
    [[nodiscard]] Orvo::ErrorStatus status() const { return status_; }

private:
    T* object_ = nullptr;
    Orvo::ErrorStatus status_ = Orvo::ok;
};

/// Range: the objects of a list of ids, each open for reading while the loop is at it. Those that do not open
/// as a T (an erased one, one that is being edited) are passed over.
///
///     for (const KzDbBlockTableRecord& record : Zelvane::records(document->database())) ...
///
/// The list is a copy: the loop may edit the drawing, all but the object that it is at. A pass at a time.
template <class T>
class OpenedEach {
public:
    /// The objects of these ids, in this order.
    explicit OpenedEach(KzDbObjectIdArray ids) : ids_(std::move(ids)) {}

    /// The place of a pass: all that a loop needs of an input iterator.
    class Iterator {
    public:
        /// What the standard library asks of it.
        /// @{
        using value_type = T;
        using difference_type = std::ptrdiff_t;

        explicit Iterator(OpenedEach& all) : all_(&all) {}
        T& operator*() const { return **all_->current_; }
        T* operator->() const { return &**this; }
        Iterator& operator++() {
            all_->openNext();
            return *this;
        }
        void operator++(int) { ++*this; }
        bool operator==(std::default_sentinel_t) const { return !all_->current_.has_value(); }
        /// @}

    private:
        OpenedEach* all_;
    };

    /// Begins a pass.
    Iterator begin() {
        next_ = 0;
        openNext();
        return Iterator(*this);
    }
    /// Where each pass ends.
    static std::default_sentinel_t end() { return {}; }

private:
    void openNext() {
        current_.reset();
        while (next_ < ids_.length() && !current_) {
            if (!current_.emplace(ids_[next_++])) current_.reset();
        }
    }

    KzDbObjectIdArray ids_;
    std::int32_t next_ = 0;
    std::optional<Opened<T>> current_;
};

} // namespace Zelvane
