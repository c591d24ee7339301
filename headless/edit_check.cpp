#include "headless/edit_check.h"

namespace Headless {

const char* describe(Refusal refusal) {
    switch (refusal) {
    case Refusal::none:
        return "nothing was refused";
    case Refusal::documentClosed:
        return "the document is closed";
    case Refusal::noDrawing:
        return "the document has no drawing";
    case Refusal::notInMemory:
        return "the object is not in memory any more";
    case Refusal::wrongKind:
        return "the object is of another kind";
    case Refusal::erased:
        return "the object is erased";
    case Refusal::heldOpen:
        return "the object is held open";
    case Refusal::otherDrawing:
        return "the object lies in another drawing";
    case Refusal::nameMissing:
        return "a name cannot be empty";
    case Refusal::nameTaken:
        return "the name is taken";
    case Refusal::notEnhanced:
        return "the block is not enhanced";
    case Refusal::alreadyRepresentation:
        return "the record represents a block already or is that block itself";
    case Refusal::ownDrawing:
        return "a drawing cannot be attached to itself";
    case Refusal::noSuchTag:
        return "the reference has no attribute of that tag";
    case Refusal::notHeldOpen:
        return "the object is not held open";
    }
    return "unknown refusal";
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
    Document* const found = documentManager.find(document);
    if (found == nullptr) return refused<Drawing>(Refusal::documentClosed, {});
    Drawing* const drawing = found->drawing();
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
