#pragma once

/// @file
/// Scope guards for open host objects.

#include "host/id_array.h"
#include "host/objects.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>

namespace Zelvane {

/// Scope guard: opens a host object and closes it when destroyed.
///
///     const Zelvane::Opened<KzDbBlockTableRecord> record(id);
///     if (record && record->isLayout()) ...
///
/// Check that the object is open before using it. Keep the scope short, because an open object cannot be
/// edited. An object without an id is in no drawing; it is deleted instead of closed.
template <class T>
class Opened {
public:
    /// Opens an object; an erased one only with `openErased`.
    explicit Opened(KzDbObjectId id, KzDb::OpenMode mode = KzDb::OpenMode::forRead, bool openErased = false) {
        KzDbObject* object = nullptr;
        status_ = kzdbOpenKzDbObject(object, id, mode, T::desc(), openErased);
        if (status_ == Orvo::ok) object_ = static_cast<T*>(object);
    }
    /// Takes ownership of an opening. Null counts as a failed opening.
    explicit Opened(T* object)
        : object_(object), status_(object == nullptr ? Orvo::missingCollaborator : Orvo::ok) {}
    ~Opened() { close(); }
    /// Transfers the opening: `other` has no open object afterwards.
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

    /// Whether the object is open.
    explicit operator bool() const { return object_ != nullptr; }
    /// The object, which must be open.
    /// @{
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    /// @}
    /// The object; null if it is not open.
    [[nodiscard]] T* get() const { return object_; }
    /// Why the object could not be opened; 0 if it is open.
    [[nodiscard]] Orvo::ErrorStatus status() const { return status_; }

private:
    void close() {
        if (object_ == nullptr) return;
        if (object_->objectId().isNull()) {
            delete object_;
        } else {
            static_cast<void>(object_->close()); // a failure cannot be handled
        }
    }

    T* object_ = nullptr;
    Orvo::ErrorStatus status_ = Orvo::ok;
};

/// Range: the objects of a list of ids, each open for read during its loop iteration. Objects that cannot
/// be opened as a T, for example because they are erased or being edited, are skipped.
///
///     for (const KzDbBlockTableRecord& record : Zelvane::records(document->database())) ...
///     for (const auto& reference : Zelvane::references(door) | std::views::take(1)) ...
///
/// The list is a copy: the loop may edit the drawing, except for the current object. An input range:
/// iterators are move-only, because each has an open object.
template <class T>
class OpenedEach {
public:
    /// The objects of the ids, in the given order.
    explicit OpenedEach(KzDbObjectIdArray ids) : ids_(std::move(ids)) {}

    /// A position in the list, with the open object. Valid as long as the range.
    class Iterator {
    public:
        /// The requirements of an input iterator.
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

    /// Opens the first object.
    [[nodiscard]] Iterator begin() const { return Iterator(ids_); }
    /// The end of the range.
    [[nodiscard]] static std::default_sentinel_t end() { return {}; }

private:
    KzDbObjectIdArray ids_;
};

} // namespace Zelvane
