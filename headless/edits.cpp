#include "headless/edits.h"

#include "headless/edit.h"

#include <cassert>

namespace Headless {

// ---- block records

namespace {

/// One new record is one edit of the block table, which must not be open. Records leave memory
/// only with their drawing, so a reference to one can be given.
Record& makeRecord(Drawing& drawing, std::u16string_view name, const Record::Origin& origin) {
    Record* record = nullptr;
    Edit edit("new record", {drawing.table()});
    edit.make([&] { record = &drawing.addRecord(name, origin); });
    edit.hasMade(record->id());
    return *record;
}

/// The drawing of an open document, with its block table ready for an edit.
Drawing* drawingToExtend(EditCheck& check, const KzApDocument* document) {
    Drawing* const drawing = check.drawing(document);
    if (drawing != nullptr) check.notOpen(drawing->table());
    return check.isRefused() ? nullptr : drawing;
}

/// What the options say, or else the name; the names of layouts begin with "*" all the same.
bool isAnonymous(std::u16string_view name, const BlockOptions& options) {
    if (options.anonymous != BlockOptions::Anonymous::byName) {
        return options.anonymous == BlockOptions::Anonymous::yes;
    }
    return !options.isLayout && name.starts_with(u'*');
}

/// Whether an attaching drawing mirrors a record: only what its own drawing has made, not what that has
/// attached in turn.
bool isMirrored(const Record& record) {
    return !record.isErased() && !record.isLayout() && !record.isMirror() &&
           !record.isFromExternalReference();
}

/// A dependent record that is to be made, under the name that is checked before.
struct Mirror {
    KzDbObjectId source;
    std::u16string name;
};

/// The dependent records that attaching `other` under a name makes, in table order.
std::vector<Mirror> mirrorsOf(const Drawing& other, std::u16string_view name) {
    std::vector<Mirror> mirrors;
    for (const KzDbObjectId id : other.table()->records()) {
        const Record& record = *findAs<Record>(id);
        if (!isMirrored(record)) continue;
        mirrors.push_back({id, std::u16string(name) + u"|" + record.name()});
    }
    return mirrors;
}

/// Checks a record that is to represent a block; a null id stands for one yet to be made.
void checkRepresentation(EditCheck& check, const Record* block, KzDbObjectId id) {
    if (block == nullptr) return;
    if (id.isNull()) {
        check.notOpen(block->drawing().table());
        return;
    }
    const auto* const representation = check.live<Record>(id);
    check.inOneDrawing(block, representation);
    const bool isTaken = representation != nullptr && !representation->representedBlock().isNull();
    if (isTaken || representation == block) check.refuse(Refusal::alreadyRepresentation, id);
}

} // namespace

Made makeBlock(KzApDocument* document, std::u16string_view name, const BlockOptions& options) {
    EditCheck check;
    Drawing* const drawing = drawingToExtend(check, document);
    check.nameIsFree(drawing, name);
    if (check.isRefused()) return check.creationFailed();
    const Record::Origin origin{.isAnonymous = isAnonymous(name, options),
                                .isLayout = options.isLayout,
                                .isDependent = options.isDependent};
    return {{}, makeRecord(*drawing, name, origin).id()};
}

Made attach(KzApDocument* document, KzApDocument* other, std::u16string_view name) {
    EditCheck check;
    Drawing* const drawing = drawingToExtend(check, document);
    Drawing* const attached = check.drawing(other);
    // If both are null, the first reason is set already.
    if (drawing == attached) check.refuse(Refusal::ownDrawing);
    check.nameIsFree(drawing, name);
    if (check.isRefused()) return check.creationFailed();
    // All names are looked at before the first record is made: the whole is done or nothing.
    const std::vector<Mirror> mirrors = mirrorsOf(*attached, name);
    for (const Mirror& each : mirrors) check.nameIsFree(drawing, each.name);
    if (check.isRefused()) return check.creationFailed();

    const Drawing::Editing stays(*attached); // a reactor cannot close it
    const KzDbObjectId first = makeRecord(*drawing, name, {.attachedDrawing = attached}).id();
    for (const Mirror& each : mirrors) {
        makeRecord(*drawing, each.name, {.isDependent = true, .source = each.source});
    }
    return {{}, first};
}

Outcome rename(KzDbObjectId id, std::u16string_view name) {
    EditCheck check;
    auto* const record = check.editable<Record>(id);
    // Its own name would be found taken.
    if (record != nullptr && record->name() != name) check.nameIsFree(&record->drawing(), name);
    if (check.isRefused()) return check.outcome();
    Edit edit("rename", {record});
    edit.make([&] { record->drawing().table()->rename(*record, name); });
    return {};
}

Outcome enhance(KzDbObjectId id) {
    EditCheck check;
    auto* const record = check.editable<Record>(id);
    if (check.isRefused()) return check.outcome();
    Edit edit("enhance", {record});
    edit.make([&] {
        if (record->graph().isNull()) record->setGraph((new Graph(record->drawing(), id))->id());
    });
    return {};
}

Made represent(KzDbObjectId blockId, KzDbObjectId representationId) {
    EditCheck check;
    auto* const block = check.editable<Record>(blockId);
    if (block != nullptr && block->graph().isNull()) check.refuse(Refusal::notEnhanced, blockId);
    checkRepresentation(check, block, representationId);
    if (check.isRefused()) return check.creationFailed();

    Drawing& drawing = block->drawing();
    // With a new record these are two edits, one after the other: of the block table, then of the block.
    Record& representation =
        representationId.isNull()
            ? makeRecord(drawing, drawing.table()->nextAnonymousName(), {.isAnonymous = true})
            : *findAs<Record>(representationId);
    Edit edit("represent", {block});
    edit.make([&] { block->addRepresentation(representation); });
    return {{}, representation.id()};
}

// ---- references and attributes

namespace {

/// Makes an attribute without an edit of its own: it comes with its reference, or by an edit of that.
Attribute& addText(Reference& reference, std::u16string_view tag, std::u16string_view text) {
    auto* const attribute = new Attribute(reference.drawing(), reference.id(), tag, text);
    reference.addAttribute(attribute->id());
    return *attribute;
}

/// The copies are live and have no reactors, like the reference that gets them.
void copyAttributes(const Reference& source, Reference& copy) {
    for (const KzDbObjectId id : source.attributes()) {
        const auto* const attribute = findAs<Attribute>(id);
        assert(attribute != nullptr); // one that leaves memory takes itself out of the list
        if (!attribute->isErased()) addText(copy, attribute->tagText(), attribute->text());
    }
}

/// Enters a reference among those of its block.
void file(const Reference& reference) {
    // The block can be gone only while its drawing is being closed.
    if (auto* const block = findAs<Record>(reference.block())) block->references().add(reference.id());
}

/// The source's reactors hear of the copy before it is placed.
void tellCopied(Reference& source, Reference& copy) {
    source.notify("copied", [&](KzDbObjectReactor* reactor) { reactor->copied(&source, &copy); });
}

} // namespace

Made insert(KzDbObjectId recordId, KzDbObjectId blockId, const std::vector<AttributeText>& attributes) {
    EditCheck check;
    auto* const record = check.editable<Record>(recordId);
    const auto* const block = check.live<Record>(blockId);
    check.inOneDrawing(record, block);
    if (check.isRefused()) return check.creationFailed();

    KzDbObjectId made;
    Edit edit("insert", {record});
    edit.make([&] {
        auto* const reference = new Reference(record->drawing(), recordId, blockId);
        made = reference->id();
        for (const AttributeText& each : attributes) addText(*reference, each.tag, each.text);
        file(*reference);
    });
    edit.hasMade(made);
    return {{}, made};
}

Outcome move(KzDbObjectId referenceId, KzDbObjectId recordId) {
    EditCheck check;
    auto* const reference = check.editable<Reference>(referenceId);
    auto* const left = reference != nullptr ? check.editable<Record>(reference->owner()) : nullptr;
    auto* const entered = check.editable<Record>(recordId);
    check.inOneDrawing(reference, entered);
    if (check.isRefused()) return check.outcome();
    // Within one record, that is opened once.
    Edit edit("move", {reference, left, left != entered ? entered : nullptr});
    // The lists of the block stay as they are: they say that it is inserted, not where.
    edit.make([&] { reference->setOwner(recordId); });
    return {};
}

Made copy(KzDbObjectId referenceId, KzDbObjectId recordId) {
    EditCheck check;
    auto* const source = check.editable<Reference>(referenceId);
    const bool isBeside = recordId.isNull() && source != nullptr;
    auto* const record = check.editable<Record>(isBeside ? source->owner() : recordId);
    check.inOneDrawing(source, record);
    if (check.isRefused()) return check.creationFailed();

    Edit edit("copy", {record}); // the record stays open while reactors are notified
    // It has no owner and is in no list until it is placed. Meanwhile it is open for write, so that reactors
    // can neither open it nor remove it from memory.
    auto* const copy = new Reference(source->drawing(), KzDbObjectId(), source->block());
    copyAttributes(*source, *copy);
    copy->beginWriting();
    tellCopied(*source, *copy);
    edit.make([&] {
        copy->setOwner(record->id());
        file(*copy);
    });
    copy->endWriting();
    edit.hasMade(copy->id());
    return {{}, copy->id()};
}

Made addAttribute(KzDbObjectId referenceId, std::u16string_view tag, std::u16string_view text) {
    EditCheck check;
    auto* const reference = check.editable<Reference>(referenceId);
    if (check.isRefused()) return check.creationFailed();
    KzDbObjectId made;
    Edit edit("add", {reference});
    edit.make([&] { made = addText(*reference, tag, text).id(); });
    edit.hasMade(made);
    return {{}, made};
}

Outcome setAttribute(KzDbObjectId referenceId, std::u16string_view tag, std::u16string_view text) {
    EditCheck check;
    const auto* const reference = check.object<Reference>(referenceId);
    // Among attributes of one tag the first live one counts. An erased one is found only when there is no
    // other, and then refused as erased.
    const KzDbObjectId id = attributeOf(referenceId, tag);
    if (reference != nullptr && id.isNull()) check.refuse(Refusal::noSuchTag, referenceId);
    auto* const attribute = check.editable<Attribute>(id);
    if (check.isRefused()) return check.outcome();
    Edit edit("set", {attribute});
    edit.make([&] { attribute->setText(text); });
    return {};
}

// ---- every object

namespace {

/// Has the lists of the block that a reference inserts sorted by the next query for them.
void refile(const Reference& reference) {
    if (auto* const block = findAs<Record>(reference.block())) block->references().changed();
}

/// An object of any kind that can be opened for write. Null only when it is not in memory: what else keeps it
/// from being edited is in `check`.
Object* openable(EditCheck& check, KzDbObjectId id) {
    Object* const object = check.any(id);
    if (object != nullptr && object->isErased()) check.refuse(Refusal::erased, id);
    check.notOpen(object);
    return object;
}

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
    // A reactor can still open it and find it in the lists; removing it a second time is refused, because
    // it counts as open meanwhile.
    object->notify("goodbye",
                   [object](KzDbObjectReactor* reactor) { reactor->goodbye(object->hostObject()); });
    unfile(*object);
    object->destroy();
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
    // An object that is in that state already is not edited, and reports no error even while it is held open.
    if (check.isRefused() || object->isErased() == isErasing) return check.outcome();
    check.notOpen(object);
    if (check.isRefused()) return check.outcome();

    Edit edit(isErasing ? "erase" : "unerase", {object});
    edit.make([&] {
        // Reactors find the object and the lists of its block in the new state.
        object->setErased(isErasing);
        if (const auto* const reference = findAs<Reference>(id)) refile(*reference);
        object->notify("erased",
                       [&](KzDbObjectReactor* reactor) { reactor->erased(object->hostObject(), isErasing); });
    });
    return {};
}

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
    object->notifyAboutToChange();
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
    object->notifyClosed();
    return {};
}

} // namespace Headless
