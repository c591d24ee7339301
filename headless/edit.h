#pragma once

#include "headless/document_manager.h"
#include "headless/edits.h"
#include "headless/reference.h"

#include <initializer_list>
#include <string_view>
#include <vector>

namespace Headless {

/// Checks the conditions of an edit before the edit begins, and keeps the first error. A query whose
/// condition is not met returns null. After an error the edit must not begin.
class EditCheck {
public:
    /// An object of class T, erased or not.
    template <class T>
    T* object(KzDbObjectId id) {
        if (objectTable.find(id) == nullptr) return refused<T>(EditError::notInMemory, id);
        T* const found = findAs<T>(id);
        return found != nullptr ? found : refused<T>(EditError::wrongKind, id);
    }
    /// An object of class T that is not erased.
    template <class T>
    T* live(KzDbObjectId id) {
        T* const found = object<T>(id);
        return found != nullptr && found->isErased() ? refused<T>(EditError::erased, id) : found;
    }
    /// An object of class T that can be opened for write.
    template <class T>
    T* editable(KzDbObjectId id) {
        T* const found = live<T>(id);
        return found != nullptr && found->isOpen() ? refused<T>(EditError::heldOpen, id) : found;
    }
    /// An object of any kind, erased or not.
    Object* any(KzDbObjectId id);
    void notOpen(const Object* object);

    /// The drawing of an open document.
    Drawing* drawing(const KzApDocument* document);
    void nameIsFree(const Drawing* drawing, std::u16string_view name);
    void inOneDrawing(const Object* first, const Object* second);

    void refuse(EditError error, KzDbObjectId about = {});
    [[nodiscard]] bool isRefused() const { return !result_; }
    [[nodiscard]] EditResult result() const { return result_; }
    /// The same for edits that create an object.
    [[nodiscard]] CreateResult creationFailed() const { return {result_, KzDbObjectId()}; }

private:
    template <class T>
    T* refused(EditError error, KzDbObjectId about) {
        refuse(error, about);
        return nullptr;
    }

    EditResult result_;
};

/// The sequence of every edit: opens the objects for write, notifies their reactors, makes the change,
/// notifies the reactors again and closes the objects. Lives for one edit. The objects must not be open,
/// which the caller has checked by `EditCheck`.
class Edit {
public:
    /// Opens the objects (null pointers are skipped) without notifying their reactors yet. `name` is for
    /// traces.
    Edit(const char* name, std::initializer_list<Object*> objects);
    Edit(const Edit&) = delete;
    Edit& operator=(const Edit&) = delete;
    ~Edit() = default;

    /// Calls `change` between the two rounds of notifications.
    template <class Change>
    void make(Change change) {
        notifyBefore();
        change();
        notifyAfter();
    }

    /// Reports the object that the edit has created to traces.
    void traceCreated(KzDbObjectId object) {
        trace_.gives([&] { return TraceDetail{"made", describeObject(object)}; });
    }

private:
    void notifyBefore();
    void notifyAfter();

    TraceScope trace_;
    std::vector<Object*> objects_;
    Drawing::Editing editing_;
};

} // namespace Headless
