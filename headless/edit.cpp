#include "headless/edit.h"

#include <iterator>

namespace Headless {

namespace {

/// The event describes all objects that the edit opens.
TraceEvent eventOf(const char* name, std::initializer_list<Object*> objects) {
    std::string subject;
    for (const Object* const each : objects) {
        if (each != nullptr) subject += (subject.empty() ? "" : ", ") + describeObject(each->id());
    }
    return {TraceCategory::edit, std::string("edit ") + name, subject};
}

} // namespace

/// Plain pointers are safe: an object that is open for write stays in memory, because notifications can
/// neither remove it nor close its drawing. The first object must not be null; its drawing is the one that
/// is edited.
Edit::Edit(const char* name, std::initializer_list<Object*> objects)
    : trace_([&] { return eventOf(name, objects); }), editing_((*objects.begin())->drawing()) {
    for (Object* const each : objects) {
        if (each == nullptr) continue;
        each->beginWriting();
        objects_.push_back(each);
    }
}

void Edit::notifyBefore() {
    for (Object* const each : objects_) each->notifyAboutToChange();
}

/// Notifies all reactors of the change before the first object is closed. Closes each object before its
/// reactors are notified of the closing, so that they can open it.
void Edit::notifyAfter() {
    for (Object* const each : objects_) {
        each->notify("modified",
                     [each](KzDbObjectReactor* reactor) { reactor->modified(each->hostObject()); });
    }
    for (Object* const each : objects_) {
        each->endWriting();
        each->notifyClosed();
    }
}

const char* describe(EditError error) {
    constexpr const char* texts[] = {
        "no error",
        "the document is closed",
        "the document has no drawing",
        "the object no longer exists",
        "the object is of another kind",
        "the object is erased",
        "the object is held open",
        "the object belongs to another drawing",
        "a name cannot be empty",
        "the name is taken",
        "the block is not enhanced",
        "the record already represents a block, or is this block",
        "a drawing cannot be attached to itself",
        "the reference has no attribute with this tag",
        "the object is not held open",
    };
    static_assert(std::size(texts) == static_cast<std::size_t>(EditError::notHeldOpen) + 1);
    return texts[static_cast<std::size_t>(error)];
}

/// Keeps the first error, because later errors are often only consequences.
void EditCheck::refuse(EditError error, KzDbObjectId about) {
    if (result_) result_ = {error, about};
}

Object* EditCheck::any(KzDbObjectId id) {
    Object* const found = objectTable.find(id);
    return found != nullptr ? found : refused<Object>(EditError::notInMemory, id);
}

void EditCheck::notOpen(const Object* object) {
    if (object != nullptr && object->isOpen()) refuse(EditError::heldOpen, object->id());
}

Drawing* EditCheck::drawing(const KzApDocument* document) {
    if (findDocument(document) == nullptr) return refused<Drawing>(EditError::documentClosed, {});
    Drawing* const drawing = drawingOf(document);
    if (drawing == nullptr) return refused<Drawing>(EditError::noDrawing, {});
    // A drawing without a block table is being closed and counts as closed.
    return drawing->table() != nullptr ? drawing : refused<Drawing>(EditError::documentClosed, {});
}

void EditCheck::nameIsFree(const Drawing* drawing, std::u16string_view name) {
    if (drawing == nullptr) return;
    if (name.empty()) refuse(EditError::nameMissing);
    // Erased records count too, because they can be unerased.
    const KzDbObjectId owner = drawing->table()->named(name);
    if (!owner.isNull()) refuse(EditError::nameTaken, owner);
}

/// If an object is null, an error was reported before.
void EditCheck::inOneDrawing(const Object* first, const Object* second) {
    if (first == nullptr || second == nullptr) return;
    if (&first->drawing() != &second->drawing()) refuse(EditError::otherDrawing, second->id());
}

} // namespace Headless
