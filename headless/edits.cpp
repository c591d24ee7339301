#include "headless/edits.h"

#include "headless/edit.h"

#include <cassert>

namespace Headless {

// ---- block records

namespace {

/// Creates a record by an edit of the block table, which must not be open. The result is valid as long as
/// the drawing, because records are only removed from memory with their drawing.
Record& makeRecord(Drawing& drawing, std::u16string_view name, const Record::Origin& origin) {
    Record* record = nullptr;
    Edit edit("new record", {drawing.table()});
    edit.make([&] { record = &drawing.addRecord(name, origin); });
    edit.traceCreated(record->id());
    return *record;
}

/// The drawing of an open document, with its block table ready for an edit.
Drawing* drawingToExtend(EditCheck& check, const KzApDocument* document) {
    Drawing* const drawing = check.drawing(document);
    if (drawing != nullptr) check.notOpen(drawing->table());
    return check.isRefused() ? nullptr : drawing;
}

/// By the options, otherwise by the name. The names of layouts begin with "*" too.
bool isAnonymous(std::u16string_view name, const BlockOptions& options) {
    if (options.anonymous != BlockOptions::Anonymous::byName) {
        return options.anonymous == BlockOptions::Anonymous::yes;
    }
    return !options.isLayout && name.starts_with(u'*');
}

/// Whether a drawing that attaches the drawing of a record gets a dependent record for it. Records of
/// drawings that are attached in turn are skipped.
bool isMirrored(const Record& record) {
    return !record.isErased() && !record.isLayout() && !record.isMirror() &&
           !record.isFromExternalReference();
}

/// A dependent record to create, and its name.
struct Mirror {
    KzDbObjectId source;
    std::u16string name;
};

/// The dependent records to create when `other` is attached under a name, in table order.
std::vector<Mirror> mirrorsOf(const Drawing& other, std::u16string_view name) {
    std::vector<Mirror> mirrors;
    for (const KzDbObjectId id : other.table()->records()) {
        const Record& record = *findAs<Record>(id);
        if (!isMirrored(record)) continue;
        mirrors.push_back({id, std::u16string(name) + u"|" + record.name()});
    }
    return mirrors;
}

/// Checks the representation of a block; a null id means a new record.
void checkRepresentation(EditCheck& check, const Record* block, KzDbObjectId id) {
    if (block == nullptr) return;
    if (id.isNull()) {
        check.notOpen(block->drawing().table());
        return;
    }
    const auto* const representation = check.live<Record>(id);
    check.inOneDrawing(block, representation);
    const bool isTaken = representation != nullptr && !representation->representedBlock().isNull();
    if (isTaken || representation == block) check.refuse(EditError::alreadyRepresentation, id);
}

} // namespace

CreateResult makeBlock(KzApDocument* document, std::u16string_view name, const BlockOptions& options) {
    EditCheck check;
    Drawing* const drawing = drawingToExtend(check, document);
    check.nameIsFree(drawing, name);
    if (check.isRefused()) return check.creationFailed();
    const Record::Origin origin{.isAnonymous = isAnonymous(name, options),
                                .isLayout = options.isLayout,
                                .isDependent = options.isDependent};
    return {{}, makeRecord(*drawing, name, origin).id()};
}

CreateResult attach(KzApDocument* document, KzApDocument* other, std::u16string_view name) {
    EditCheck check;
    Drawing* const drawing = drawingToExtend(check, document);
    Drawing* const attached = check.drawing(other);
    // If both are null, the first error is kept.
    if (drawing == attached) check.refuse(EditError::ownDrawing);
    check.nameIsFree(drawing, name);
    if (check.isRefused()) return check.creationFailed();
    // All names are checked before the first record is created, so that all records are created or none.
    const std::vector<Mirror> mirrors = mirrorsOf(*attached, name);
    for (const Mirror& each : mirrors) check.nameIsFree(drawing, each.name);
    if (check.isRefused()) return check.creationFailed();

    const Drawing::Editing stays(*attached); // reactors cannot close it
    const KzDbObjectId first = makeRecord(*drawing, name, {.attachedDrawing = attached}).id();
    for (const Mirror& each : mirrors) {
        makeRecord(*drawing, each.name, {.isDependent = true, .source = each.source});
    }
    return {{}, first};
}

EditResult rename(KzDbObjectId id, std::u16string_view name) {
    EditCheck check;
    auto* const record = check.editable<Record>(id);
    // A record may keep its own name.
    if (record != nullptr && record->name() != name) check.nameIsFree(&record->drawing(), name);
    if (check.isRefused()) return check.result();
    Edit edit("rename", {record});
    edit.make([&] { record->drawing().table()->rename(*record, name); });
    return {};
}

EditResult enhance(KzDbObjectId id) {
    EditCheck check;
    auto* const record = check.editable<Record>(id);
    if (check.isRefused()) return check.result();
    Edit edit("enhance", {record});
    edit.make([&] {
        if (record->graph().isNull()) record->setGraph((new Graph(record->drawing(), id))->id());
    });
    return {};
}

CreateResult represent(KzDbObjectId blockId, KzDbObjectId representationId) {
    EditCheck check;
    auto* const block = check.editable<Record>(blockId);
    if (block != nullptr && block->graph().isNull()) check.refuse(EditError::notEnhanced, blockId);
    checkRepresentation(check, block, representationId);
    if (check.isRefused()) return check.creationFailed();

    Drawing& drawing = block->drawing();
    // With a new record, these are two edits: of the block table, then of the block.
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

/// Adds an attribute, as part of an edit of the reference or of the record that owns the reference.
Attribute& addText(Reference& reference, std::u16string_view tag, std::u16string_view text) {
    auto* const attribute = new Attribute(reference.drawing(), reference.id(), tag, text);
    reference.addAttribute(attribute->id());
    return *attribute;
}

/// Copies the live attributes. The copies have no reactors.
void copyAttributes(const Reference& source, Reference& copy) {
    for (const KzDbObjectId id : source.attributes()) {
        const auto* const attribute = findAs<Attribute>(id);
        assert(attribute != nullptr); // attributes that are removed from memory are removed from the list
        if (!attribute->isErased()) addText(copy, attribute->tagText(), attribute->text());
    }
}

/// Adds a reference to the lists of its block.
void addToBlock(const Reference& reference) {
    // The block exists unless its drawing is being closed.
    if (auto* const block = findAs<Record>(reference.block())) block->references().add(reference.id());
}

/// Notifies the reactors of the source before the copy is placed.
void notifyCopied(Reference& source, Reference& copy) {
    source.notify("copied", [&](KzDbObjectReactor* reactor) { reactor->copied(&source, &copy); });
}

} // namespace

CreateResult insert(KzDbObjectId recordId, KzDbObjectId blockId,
                    const std::vector<AttributeText>& attributes) {
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
        addToBlock(*reference);
    });
    edit.traceCreated(made);
    return {{}, made};
}

EditResult move(KzDbObjectId referenceId, KzDbObjectId recordId) {
    EditCheck check;
    auto* const reference = check.editable<Reference>(referenceId);
    auto* const oldOwner = reference != nullptr ? check.editable<Record>(reference->owner()) : nullptr;
    auto* const newOwner = check.editable<Record>(recordId);
    check.inOneDrawing(reference, newOwner);
    if (check.isRefused()) return check.result();
    // If both records are the same, the record is opened once.
    Edit edit("move", {reference, oldOwner, oldOwner != newOwner ? newOwner : nullptr});
    // The lists of the block do not change, because they do not contain the owners of the references.
    edit.make([&] { reference->setOwner(recordId); });
    return {};
}

CreateResult copy(KzDbObjectId referenceId, KzDbObjectId recordId) {
    EditCheck check;
    auto* const source = check.editable<Reference>(referenceId);
    const bool usesSameRecord = recordId.isNull() && source != nullptr;
    auto* const record = check.editable<Record>(usesSameRecord ? source->owner() : recordId);
    check.inOneDrawing(source, record);
    if (check.isRefused()) return check.creationFailed();

    Edit edit("copy", {record}); // the record stays open while reactors are notified
    // The copy has no owner and is in no list until it is placed. Meanwhile it is open for write, so that
    // reactors can neither open it nor remove it from memory.
    auto* const copy = new Reference(source->drawing(), KzDbObjectId(), source->block());
    copyAttributes(*source, *copy);
    copy->beginWriting();
    notifyCopied(*source, *copy);
    edit.make([&] {
        copy->setOwner(record->id());
        addToBlock(*copy);
    });
    copy->endWriting();
    edit.traceCreated(copy->id());
    return {{}, copy->id()};
}

CreateResult addAttribute(KzDbObjectId referenceId, std::u16string_view tag, std::u16string_view text) {
    EditCheck check;
    auto* const reference = check.editable<Reference>(referenceId);
    if (check.isRefused()) return check.creationFailed();
    KzDbObjectId made;
    Edit edit("add", {reference});
    edit.make([&] { made = addText(*reference, tag, text).id(); });
    edit.traceCreated(made);
    return {{}, made};
}

EditResult setAttribute(KzDbObjectId referenceId, std::u16string_view tag, std::u16string_view text) {
    EditCheck check;
    const auto* const reference = check.object<Reference>(referenceId);
    // If several attributes have the tag, the first live one is changed. An erased attribute is found only
    // if there is no live one; `editable` reports it as erased.
    const KzDbObjectId id = attributeOf(referenceId, tag);
    if (reference != nullptr && id.isNull()) check.refuse(EditError::noSuchTag, referenceId);
    auto* const attribute = check.editable<Attribute>(id);
    if (check.isRefused()) return check.result();
    Edit edit("set", {attribute});
    edit.make([&] { attribute->setText(text); });
    return {};
}

// ---- every object

namespace {

/// Called when a reference was erased, unerased or removed from memory: the next query sorts the lists of
/// its block.
void invalidateReferenceLists(const Reference& reference) {
    if (auto* const block = findAs<Record>(reference.block())) block->references().changed();
}

/// An object of any kind, checked to be editable. Null only if it is not in memory; other errors are in
/// `check`.
Object* openable(EditCheck& check, KzDbObjectId id) {
    Object* const object = check.any(id);
    if (object != nullptr && object->isErased()) check.refuse(EditError::erased, id);
    check.notOpen(object);
    return object;
}

/// The objects that are removed from memory with an object, in order of removal: attributes before the
/// reference that owns them. All are checked before the first is removed. A copy, because each removal
/// changes the reference's list.
std::vector<KzDbObjectId> objectsToRemove(EditCheck& check, KzDbObjectId id) {
    std::vector<KzDbObjectId> objects;
    if (const auto* const reference = findAs<Reference>(id)) objects = reference->attributes();
    objects.push_back(id);
    for (const KzDbObjectId each : objects) check.notOpen(check.any(each));
    return objects;
}

/// Removes an object from the lists that contain it, so that a reference only lists attributes that are in
/// memory.
void removeFromLists(const Object& object) {
    if (const auto* const reference = findAs<Reference>(object.id())) invalidateReferenceLists(*reference);
    if (object.kind() != Kind::attribute) return;
    if (auto* const reference = findAs<Reference>(object.owner())) reference->removeAttribute(object.id());
}

void removeFromMemory(KzDbObjectId id) {
    Object* const object = objectTable.find(id);
    if (object == nullptr) return; // a reactor has already removed it
    // Reactors can still open the object and find it in lists. They cannot remove it, because it counts as
    // open.
    object->notify("goodbye",
                   [object](KzDbObjectReactor* reactor) { reactor->goodbye(object->hostObject()); });
    removeFromLists(*object);
    object->destroy();
}

} // namespace

EditResult touch(KzDbObjectId id) {
    EditCheck check;
    Object* const object = openable(check, id);
    if (check.isRefused()) return check.result();
    Edit edit("touch", {object});
    // This edit consists of its notifications.
    edit.make([] {});
    return {};
}

EditResult erase(KzDbObjectId id, bool isErasing) {
    EditCheck check;
    Object* const object = check.any(id);
    if (object != nullptr && (object->kind() == Kind::table || object->kind() == Kind::graph)) {
        check.refuse(EditError::wrongKind, id);
    }
    // If the object is in that state already, there is no edit, and no error even if it is held open.
    if (check.isRefused() || object->isErased() == isErasing) return check.result();
    check.notOpen(object);
    if (check.isRefused()) return check.result();

    Edit edit(isErasing ? "erase" : "unerase", {object});
    edit.make([&] {
        // The object and the lists of its block are updated before the reactors are notified.
        object->setErased(isErasing);
        if (const auto* const reference = findAs<Reference>(id)) invalidateReferenceLists(*reference);
        object->notify("erased",
                       [&](KzDbObjectReactor* reactor) { reactor->erased(object->hostObject(), isErasing); });
    });
    return {};
}

EditResult goodbye(KzDbObjectId id) {
    EditCheck check;
    Object* const object = check.any(id);
    const bool isRemovable =
        object == nullptr || object->kind() == Kind::reference || object->kind() == Kind::attribute;
    if (!isRemovable) check.refuse(EditError::wrongKind, id);
    const std::vector<KzDbObjectId> objects = objectsToRemove(check, id);
    if (check.isRefused()) return check.result();
    const Drawing::Editing editing(object->drawing());
    for (const KzDbObjectId each : objects) removeFromMemory(each);
    return {};
}

EditResult holdOpen(KzDbObjectId id) {
    EditCheck check;
    Object* const object = openable(check, id);
    if (check.isRefused()) return check.result();
    const Drawing::Editing editing(object->drawing());
    // The object is open when its reactors are notified, as in an edit.
    object->hold();
    object->notifyAboutToChange();
    return {};
}

EditResult releaseHold(KzDbObjectId id) {
    EditCheck check;
    Object* const object = check.any(id);
    if (object != nullptr && !object->isHeld()) check.refuse(EditError::notHeldOpen, id);
    if (check.isRefused()) return check.result();
    const Drawing::Editing editing(object->drawing());
    // The object is closed when its reactors are notified, as in an edit.
    object->releaseHold();
    object->notifyClosed();
    return {};
}

} // namespace Headless
