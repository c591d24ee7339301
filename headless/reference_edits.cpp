#include "headless/edit.h"
#include "headless/edit_check.h"
#include "headless/edits.h"

namespace Headless {

namespace {

Attribute& addText(Reference& reference, std::u16string_view tag, std::u16string_view text) {
    auto* const attribute = new Attribute(reference.drawing(), reference.id(), tag, text);
    reference.addAttribute(attribute->id());
    return *attribute;
}

void copyAttributes(const Reference& source, Reference& copy) {
    for (const KzDbObjectId id : source.attributes()) {
        const auto* const attribute = findAs<Attribute>(id);
        if (!attribute->isErased()) addText(copy, attribute->tagText(), attribute->text());
    }
}

/// Enters a reference among those of its block.
void file(const Reference& reference) {
    // The block can be gone only while its drawing is being closed.
    if (auto* const block = findAs<Record>(reference.block())) block->references().add(reference.id());
}

/// What the block of a reference reports has to be put in order again.
void refile(const Reference& reference) {
    if (auto* const block = findAs<Record>(reference.block())) block->references().changed();
}

/// The source's reactors hear of the copy before it is placed.
void tellCopied(Reference& source, Reference& copy) {
    source.tell([&](KzDbObjectReactor* reactor) { reactor->copied(&source, &copy); });
}

} // namespace

Made insert(KzDbObjectId recordId, KzDbObjectId blockId, const std::vector<AttributeText>& attributes) {
    EditCheck check;
    auto* const record = check.editable<Record>(recordId);
    const auto* const block = check.live<Record>(blockId);
    check.inOneDrawing(record, block);
    if (check.isRefused()) return check.nothingMade();

    KzDbObjectId made;
    Edit edit({record});
    edit.make([&] {
        auto* const reference = new Reference(record->drawing(), recordId, blockId);
        made = reference->id();
        for (const AttributeText& each : attributes) addText(*reference, each.tag, each.text);
        file(*reference);
    });
    return {{}, made};
}

Outcome move(KzDbObjectId referenceId, KzDbObjectId recordId) {
    EditCheck check;
    auto* const reference = check.editable<Reference>(referenceId);
    auto* const left = reference != nullptr ? check.editable<Record>(reference->owner()) : nullptr;
    auto* const entered = check.editable<Record>(recordId);
    check.inOneDrawing(reference, entered);
    if (check.isRefused()) return check.outcome();
    Edit edit({reference, left, left != entered ? entered : nullptr});
    edit.make([&] { reference->setOwner(recordId); });
    return {};
}

Made copy(KzDbObjectId referenceId, KzDbObjectId recordId) {
    EditCheck check;
    auto* const source = check.editable<Reference>(referenceId);
    const bool isBeside = recordId.isNull() && source != nullptr;
    auto* const record = check.editable<Record>(isBeside ? source->owner() : recordId);
    check.inOneDrawing(source, record);
    if (check.isRefused()) return check.nothingMade();

    Edit edit({record}); // nobody else can change the record while the copying is told
    auto* const copy = new Reference(source->drawing(), KzDbObjectId(), source->block());
    copyAttributes(*source, *copy);
    copy->beginWriting();
    tellCopied(*source, *copy);
    edit.make([&] {
        copy->setOwner(record->id());
        file(*copy);
    });
    copy->endWriting();
    return {{}, copy->id()};
}

Made addAttribute(KzDbObjectId referenceId, std::u16string_view tag, std::u16string_view text) {
    EditCheck check;
    auto* const reference = check.editable<Reference>(referenceId);
    if (check.isRefused()) return check.nothingMade();
    KzDbObjectId made;
    Edit edit({reference});
    edit.make([&] { made = addText(*reference, tag, text).id(); });
    return {{}, made};
}

Outcome setAttribute(KzDbObjectId referenceId, std::u16string_view tag, std::u16string_view text) {
    EditCheck check;
    const auto* const reference = check.object<Reference>(referenceId);
    const KzDbObjectId id = attributeOf(referenceId, tag);
    if (reference != nullptr && id.isNull()) check.refuse(Refusal::noSuchTag, referenceId);
    auto* const attribute = check.editable<Attribute>(id);
    if (check.isRefused()) return check.outcome();
    Edit edit({attribute});
    edit.make([&] { attribute->setText(text); });
    return {};
}

Outcome touch(KzDbObjectId id) {
    EditCheck check;
    Object* const object = check.any(id);
    if (object != nullptr && object->isErased()) check.refuse(Refusal::erased, id);
    check.notOpen(object);
    if (check.isRefused()) return check.outcome();
    Edit edit({object});
    edit.make([] {});
    return {};
}

Outcome erase(KzDbObjectId id, bool isErasing) {
    EditCheck check;
    Object* const object = check.any(id);
    if (object != nullptr && (object->kind() == Kind::table || object->kind() == Kind::graph)) {
        check.refuse(Refusal::wrongKind, id);
    }
    if (check.isRefused() || object->isErased() == isErasing) return check.outcome();
    check.notOpen(object);
    if (check.isRefused()) return check.outcome();

    Edit edit({object});
    edit.make([&] {
        object->setErased(isErasing);
        if (const auto* const reference = findAs<Reference>(id)) refile(*reference);
        object->tell([&](KzDbObjectReactor* reactor) { reactor->erased(object->face(), isErasing); });
    });
    return {};
}

namespace {

/// The objects that leave memory with one, in the order of leaving.
std::vector<KzDbObjectId> leavingWith(EditCheck& check, KzDbObjectId id) {
    std::vector<KzDbObjectId> leaving;
    if (const auto* const reference = findAs<Reference>(id)) leaving = reference->attributes();
    leaving.push_back(id);
    for (const KzDbObjectId each : leaving) check.notOpen(check.any(each));
    return leaving;
}

/// Takes an object that leaves memory out of the lists that name it.
void unfile(const Object& object) {
    if (const auto* const reference = findAs<Reference>(object.id())) refile(*reference);
    if (object.kind() != Kind::attribute) return;
    if (auto* const reference = findAs<Reference>(object.owner())) reference->removeAttribute(object.id());
}

void leave(KzDbObjectId id) {
    Object* const object = objectTable.find(id);
    if (object == nullptr) return; // a reactor has sent it away before its turn
    object->tell([object](KzDbObjectReactor* reactor) { reactor->goodbye(object->face()); });
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
    Object* const object = check.any(id);
    check.notOpen(object);
    if (check.isRefused()) return check.outcome();
    object->hold();
    return {};
}

Outcome letGo(KzDbObjectId id) {
    EditCheck check;
    Object* const object = check.any(id);
    if (object != nullptr && !object->isHeld()) check.refuse(Refusal::notHeldOpen, id);
    if (check.isRefused()) return check.outcome();
    object->letGo();
    return {};
}

std::size_t heldOpenCount() {
    return Object::heldCount();
}

} // namespace Headless
