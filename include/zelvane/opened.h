#pragma once

/// @file
/// Objects that are closed when they go out of scope.

#include "host/id_array.h"
#include "host/objects.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>

namespace Zelvane {

/// Scope guard: a host object that is open as long as this lives.
///
///     const Zelvane::Opened<KzDbBlockTableRecord> record(id);
///     if (record && record->isLayout()) ...
///
/// Check that the opening succeeded before using the object. Keep it for the shortest time: as long as an
/// object is open, it cannot be edited. An object without an id is in no drawing; it is deleted instead of
/// closed.
template <class T>
class Opened {
public:
    /// Opens it; an erased one only with `openErased`.
    explicit Opened(KzDbObjectId id, KzDb::OpenMode mode = KzDb::OpenMode::forRead, bool openErased = false) {
        KzDbObject* object = nullptr;
        status_ = kzdbOpenKzDbObject(object, id, mode, T::desc(), openErased);
        if (status_ == Orvo::ok) object_ = static_cast<T*>(object);
    }
    /// Takes over an object that is open already; null counts as a failed opening.
    explicit Opened(T* object)
        : object_(object), status_(object == nullptr ? Orvo::missingCollaborator : Orvo::ok) {}
    ~Opened() { close(); }
    /// Hands the opening over: `other` holds nothing open afterwards.
    /// @{
    Opened(Opened&& other) noexcept
        : object_(std::exchange(other.object_, nullptr)), status_(other.status_) {}
    Opened& operator=(Opened&& other) noexcept {
        if (this == &other) return *this;
        close();
        object_ = std::exchange(other.object_, nullptr);
        status_ = other.status_;
        return *this;
    }
    /// @}

    /// Whether it is open.
    explicit operator bool() const { return object_ != nullptr; }
    /// The object. Only when it is open.
    /// @{
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    /// @}
    /// The object; null if it is not open.
    [[nodiscard]] T* get() const { return object_; }
    /// Why the object did not open; 0 when it did.
    [[nodiscard]] Orvo::ErrorStatus status() const { return status_; }

private:
    void close() {
        if (object_ == nullptr) return;
        if (object_->objectId().isNull()) {
            delete object_;
        } else {
            static_cast<void>(object_->close()); // a failure leaves nothing to do
        }
    }

    T* object_ = nullptr;
    Orvo::ErrorStatus status_ = Orvo::ok;
};

/// Range: the objects of a list of ids, each open for reading while the loop is at it. Ids that do not open
/// as a T (erased, or being edited) are skipped.
///
///     for (const KzDbBlockTableRecord& record : Zelvane::records(document->database())) ...
///     for (const auto& reference : Zelvane::references(door) | std::views::take(1)) ...
///
/// The list is a copy: the loop may edit the drawing, except for the object that it is at. Each iterator
/// holds one object open, so iterators move and do not copy: an input range.
template <class T>
class OpenedEach {
public:
    /// The objects of these ids, in this order.
    explicit OpenedEach(KzDbObjectIdArray ids) : ids_(std::move(ids)) {}

    /// The place of a loop, with the object that is open there. Valid as long as the range is.
    class Iterator {
    public:
        /// What the standard library asks of an input iterator.
        /// @{
        using iterator_concept = std::input_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;

        explicit Iterator(const KzDbObjectIdArray& ids) : ids_(&ids) { openNext(); }
        T& operator*() const { return **current_; }
        T* operator->() const { return &**current_; }
        Iterator& operator++() {
            openNext();
            return *this;
        }
        void operator++(int) { ++*this; }
        bool operator==(std::default_sentinel_t) const { return !current_.has_value(); }
        /// @}

    private:
        void openNext() {
            current_.reset();
            while (next_ < ids_->length() && !current_) {
                if (!current_.emplace((*ids_)[next_++])) current_.reset();
            }
        }

        const KzDbObjectIdArray* ids_;
        std::int32_t next_ = 0;
        std::optional<Opened<T>> current_;
    };

    /// Begins a loop.
    [[nodiscard]] Iterator begin() const { return Iterator(ids_); }
    /// Where each loop ends.
    [[nodiscard]] static std::default_sentinel_t end() { return {}; }

private:
    KzDbObjectIdArray ids_;
};

} // namespace Zelvane
