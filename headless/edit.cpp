#include "headless/edit.h"

#include <iterator>

namespace Headless {

namespace {

/// Names all objects that the edit opens.
TraceEvent eventOf(const char* name, std::initializer_list<Object*> objects) {
    std::string subject;
    for (const Object* const each : objects) {
        if (each != nullptr) subject += (subject.empty() ? "" : ", ") + describeObject(each->id());
    }
    return {TraceCategory::edit, std::string("edit ") + name, subject};
}

} // namespace

/// An object that is open for write stays in memory, whatever is done in the notifications: it cannot be sent
/// away, and its drawing cannot be closed. So plain pointers do. The first object must not be null: it says
/// which drawing is edited.
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

/// All reactors hear of the change before the first object is closed. Each object is closed before its
/// reactors hear of that, so that they find it open for write no longer.
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

const char* describe(Refusal refusal) {
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
    static_assert(std::size(texts) == static_cast<std::size_t>(Refusal::notHeldOpen) + 1);
    return texts[static_cast<std::size_t>(refusal)];
}

/// Keeps the first refusal: those after it often only follow from it.
void EditCheck::refuse(Refusal refusal, KzDbObjectId about) {
    if (outcome_) outcome_ = {refusal, about};
}

Object* EditCheck::any(KzDbObjectId id) {
    Object* const found = objectTable.find(id);
    return found != nullptr ? found : refused<Object>(Refusal::notInMemory, id);
}

void EditCheck::notOpen(const Object* object) {
    if (object != nullptr && object->isOpen()) refuse(Refusal::heldOpen, object->id());
}

Drawing* EditCheck::drawing(const KzApDocument* document) {
    if (findDocument(document) == nullptr) return refused<Drawing>(Refusal::documentClosed, {});
    Drawing* const drawing = drawingOf(document);
    if (drawing == nullptr) return refused<Drawing>(Refusal::noDrawing, {});
    // A drawing that takes its leave has lost its table, and counts as closed.
    return drawing->table() != nullptr ? drawing : refused<Drawing>(Refusal::documentClosed, {});
}

void EditCheck::nameIsFree(const Drawing* drawing, std::u16string_view name) {
    if (drawing == nullptr) return;
    if (name.empty()) refuse(Refusal::nameMissing);
    // An erased record counts too, because its erasure can be taken back.
    const KzDbObjectId owner = drawing->table()->named(name);
    if (!owner.isNull()) refuse(Refusal::nameTaken, owner);
}

/// An object that is null has been refused before.
void EditCheck::inOneDrawing(const Object* first, const Object* second) {
    if (first == nullptr || second == nullptr) return;
    if (&first->drawing() != &second->drawing()) refuse(Refusal::otherDrawing, second->id());
}

} // namespace Headless
