#include "headless/edit.h"
#include "headless/inspection.h"

#include <cassert>

namespace Headless {

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
    source.tell("copied", [&](KzDbObjectReactor* reactor) { reactor->copied(&source, &copy); });
}

} // namespace

Made insert(KzDbObjectId recordId, KzDbObjectId blockId, const std::vector<AttributeText>& attributes) {
    EditCheck check;
    auto* const record = check.editable<Record>(recordId);
    const auto* const block = check.live<Record>(blockId);
    check.inOneDrawing(record, block);
    if (check.isRefused()) return check.nothingMade();

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
    if (check.isRefused()) return check.nothingMade();

    Edit edit("copy", {record}); // nobody else can change the record while the copying is told
    // It belongs to nobody and stands in no list until it is placed. Meanwhile it is open for write, so that
    // whoever is told of it can neither open it nor send it away.
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
    if (check.isRefused()) return check.nothingMade();
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

} // namespace Headless
