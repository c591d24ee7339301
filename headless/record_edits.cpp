#include "headless/edit.h"

namespace Headless {

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

} // namespace

Made makeBlock(KzApDocument* document, std::u16string_view name, const BlockOptions& options) {
    EditCheck check;
    Drawing* const drawing = drawingToExtend(check, document);
    check.nameIsFree(drawing, name);
    if (check.isRefused()) return check.nothingMade();
    const Record::Origin origin{.isAnonymous = isAnonymous(name, options),
                                .isLayout = options.isLayout,
                                .isDependent = options.isDependent};
    return {{}, makeRecord(*drawing, name, origin).id()};
}

Made attach(KzApDocument* document, KzApDocument* other, std::u16string_view name) {
    EditCheck check;
    Drawing* const drawing = drawingToExtend(check, document);
    Drawing* const attached = check.drawing(other);
    // When both are null the first reason stands already.
    if (drawing == attached) check.refuse(Refusal::ownDrawing);
    check.nameIsFree(drawing, name);
    if (check.isRefused()) return check.nothingMade();
    // All names are looked at before the first record is made: the whole is done or nothing.
    const std::vector<Mirror> mirrors = mirrorsOf(*attached, name);
    for (const Mirror& each : mirrors) check.nameIsFree(drawing, each.name);
    if (check.isRefused()) return check.nothingMade();

    const Drawing::Editing stays(*attached); // whoever is told cannot close it
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

namespace {

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

Made represent(KzDbObjectId blockId, KzDbObjectId representationId) {
    EditCheck check;
    auto* const block = check.editable<Record>(blockId);
    if (block != nullptr && block->graph().isNull()) check.refuse(Refusal::notEnhanced, blockId);
    checkRepresentation(check, block, representationId);
    if (check.isRefused()) return check.nothingMade();

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

} // namespace Headless
