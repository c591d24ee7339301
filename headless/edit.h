#pragma once

#include "headless/document_manager.h"
#include "headless/edits.h"
#include "headless/reference.h"

#include <initializer_list>
#include <string_view>
#include <vector>

namespace Headless {

/// Gathers what an edit needs before it begins, and keeps the first reason why it cannot be done. After a
/// refusal the questions give null, and the edit must not begin.
class EditCheck {
public:
    /// An object of class T, erased or not.
    template <class T>
    T* object(KzDbObjectId id) {
        if (objectTable.find(id) == nullptr) return refused<T>(Refusal::notInMemory, id);
        T* const found = findAs<T>(id);
        return found != nullptr ? found : refused<T>(Refusal::wrongKind, id);
    }
    /// One that is not erased.
    template <class T>
    T* live(KzDbObjectId id) {
        T* const found = object<T>(id);
        return found != nullptr && found->isErased() ? refused<T>(Refusal::erased, id) : found;
    }
    /// One that can be opened for write.
    template <class T>
    T* editable(KzDbObjectId id) {
        T* const found = live<T>(id);
        return found != nullptr && found->isOpen() ? refused<T>(Refusal::heldOpen, id) : found;
    }
    /// An object of any kind, erased or not.
    Object* any(KzDbObjectId id);
    void notOpen(const Object* object);

    /// The drawing of an open document.
    Drawing* drawing(const KzApDocument* document);
    void nameIsFree(const Drawing* drawing, std::u16string_view name);
    void inOneDrawing(const Object* first, const Object* second);

    void refuse(Refusal refusal, KzDbObjectId about = {});
    [[nodiscard]] bool isRefused() const { return !outcome_; }
    [[nodiscard]] Outcome outcome() const { return outcome_; }
    /// For edits that make an object.
    [[nodiscard]] Made creationFailed() const { return {outcome_, KzDbObjectId()}; }

private:
    template <class T>
    T* refused(Refusal refusal, KzDbObjectId about) {
        refuse(refusal, about);
        return nullptr;
    }

    Outcome outcome_;
};

/// The course of every edit: the objects are opened for write and their reactors told so, the change is made,
/// the reactors hear of it, the objects are closed. The objects must not be open, which the edit has checked.
class Edit {
public:
    /// Opens the objects (null pointers are skipped) without notifying their reactors yet. `name` is for
    /// traces.
    Edit(const char* name, std::initializer_list<Object*> objects);
    Edit(const Edit&) = delete;
    Edit& operator=(const Edit&) = delete;
    ~Edit() = default;

    /// `change` is called between the two rounds of notifications.
    template <class Change>
    void make(Change change) {
        notifyBefore();
        change();
        notifyAfter();
    }

    /// Lets a trace know what the edit has made.
    void hasMade(KzDbObjectId object) {
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
