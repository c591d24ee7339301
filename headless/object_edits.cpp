#include "headless/edit.h"

namespace Headless {

namespace {

/// Has the lists of the block that a reference inserts put in order when somebody next asks for them.
void refile(const Reference& reference) {
    if (auto* const block = findAs<Record>(reference.block())) block->references().changed();
}

/// An object of any kind that can be opened for write. Null only when it is not in memory: what else keeps it
/// from being edited stands in `check`.
Object* openable(EditCheck& check, KzDbObjectId id) {
    Object* const object = check.any(id);
    if (object != nullptr && object->isErased()) check.refuse(Refusal::erased, id);
    check.notOpen(object);
    return object;
}

} // namespace

Outcome touch(KzDbObjectId id) {
    EditCheck check;
    Object* const object = openable(check, id);
    if (check.isRefused()) return check.outcome();
    Edit edit("touch", {object});
    // The notifications are all there is to it.
    edit.make([] {});
    return {};
}

Outcome erase(KzDbObjectId id, bool isErasing) {
    EditCheck check;
    Object* const object = check.any(id);
    if (object != nullptr && (object->kind() == Kind::table || object->kind() == Kind::graph)) {
        check.refuse(Refusal::wrongKind, id);
    }
    // An object in that state already is no edit and no error, even while somebody holds it open.
    if (check.isRefused() || object->isErased() == isErasing) return check.outcome();
    check.notOpen(object);
    if (check.isRefused()) return check.outcome();

    Edit edit(isErasing ? "erase" : "take back the erasure", {object});
    edit.make([&] {
        // Reactors find the object and the lists of its block in the new state.
        object->setErased(isErasing);
        if (const auto* const reference = findAs<Reference>(id)) refile(*reference);
        object->tell("erased",
                     [&](KzDbObjectReactor* reactor) { reactor->erased(object->face(), isErasing); });
    });
    return {};
}

namespace {

/// The objects that leave memory with one, in the order of leaving: attributes before their reference, which
/// they name as their owner. All are checked before the first one leaves. A copy of the list, out of which
/// each attribute takes itself.
std::vector<KzDbObjectId> leavingWith(EditCheck& check, KzDbObjectId id) {
    std::vector<KzDbObjectId> leaving;
    if (const auto* const reference = findAs<Reference>(id)) leaving = reference->attributes();
    leaving.push_back(id);
    for (const KzDbObjectId each : leaving) check.notOpen(check.any(each));
    return leaving;
}

/// Takes an object that leaves memory out of the lists that name it. So a reference lists only
/// attributes that are in memory.
void unfile(const Object& object) {
    if (const auto* const reference = findAs<Reference>(object.id())) refile(*reference);
    if (object.kind() != Kind::attribute) return;
    if (auto* const reference = findAs<Reference>(object.owner())) reference->removeAttribute(object.id());
}

void leave(KzDbObjectId id) {
    Object* const object = objectTable.find(id);
    if (object == nullptr) return; // a reactor has sent it away before its turn
    // Whoever is told can still open it and find it in the lists; sending it away again is refused, because
    // it counts as open meanwhile.
    object->tell("goodbye", [object](KzDbObjectReactor* reactor) { reactor->goodbye(object->face()); });
    unfile(*object);
    object->leaveMemory();
}

} // namespace

Outcome goodbye(KzDbObjectId id) {
    EditCheck check;
    Object* const object = check.any(id);
    const bool canLeave =
        object == nullptr || object->kind() == Kind::reference || object->kind() == Kind::attribute;
    if (!canLeave) check.refuse(Refusal::wrongKind, id);
    const std::vector<KzDbObjectId> leaving = leavingWith(check, id);
    if (check.isRefused()) return check.outcome();
    const Drawing::Editing editing(object->drawing());
    for (const KzDbObjectId each : leaving) leave(each);
    return {};
}

Outcome holdOpen(KzDbObjectId id) {
    EditCheck check;
    Object* const object = openable(check, id);
    if (check.isRefused()) return check.outcome();
    const Drawing::Editing editing(object->drawing());
    // Open before its reactors hear of it, as in an edit.
    object->hold();
    object->tellAboutToChange();
    return {};
}

Outcome letGo(KzDbObjectId id) {
    EditCheck check;
    Object* const object = check.any(id);
    if (object != nullptr && !object->isHeld()) check.refuse(Refusal::notHeldOpen, id);
    if (check.isRefused()) return check.outcome();
    const Drawing::Editing editing(object->drawing());
    // Closed before its reactors hear of it, as in an edit.
    object->letGo();
    object->tellClosed();
    return {};
}

} // namespace Headless
