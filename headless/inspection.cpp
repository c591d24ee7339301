#include "headless/inspection.h"

#include "headless/document_manager.h"
#include "headless/drawing.h"
#include "headless/reference.h"
#include "text/unicode.h"

namespace Headless {

namespace {

/// The block table of an open document; null if there is none.
const BlockTable* tableOf(const KzApDocument* document) {
    const Drawing* const drawing = drawingOf(document);
    return drawing != nullptr ? drawing->table() : nullptr;
}

/// The sum of `count(object)` over the objects of a drawing.
template <class Count>
std::size_t sumOver(const KzApDocument* document, Count count) {
    std::size_t sum = 0;
    if (const Drawing* const drawing = drawingOf(document)) {
        drawing->forEachObject([&](const Object& object) { sum += count(object); });
    }
    return sum;
}

/// The document that has a drawing; empty while the document is being opened.
std::string ofDocument(const KzDbDatabase* drawing) {
    for (const Document* const each : documentManager.open) {
        if (drawingOf(each) == drawing) return " of document \"" + Text::toUtf8(each->name) + "\"";
    }
    return {};
}

std::string quoted(std::u16string_view name) {
    return "\"" + Text::toUtf8(name) + "\"";
}

} // namespace

Kind kindOf(KzDbObjectId id) {
    const Object* const object = objectTable.find(id);
    return object != nullptr ? object->kind() : Kind::none;
}

std::size_t reactorCount(KzDbObjectId id) {
    const Object* const object = objectTable.find(id);
    return object != nullptr ? object->reactorCount() : 0;
}

std::size_t reactorCountOf(const KzApDocument* document) {
    return sumOver(document, [](const Object& object) { return object.reactorCount(); });
}

std::size_t openCount(KzDbObjectId id) {
    const Object* const object = objectTable.find(id);
    return object != nullptr ? object->openCount() : 0;
}

std::size_t openCountOf(const KzApDocument* document) {
    return sumOver(document, [](const Object& object) { return object.isOpen() ? 1U : 0U; });
}

std::size_t heldOpenCount() {
    return Object::heldCount();
}

KzDbObjectId find(const KzApDocument* document, std::u16string_view name) {
    const BlockTable* const table = tableOf(document);
    const KzDbObjectId id = table != nullptr ? table->named(name) : KzDbObjectId();
    // The table also finds erased records, because they keep their names.
    return id.isErased() ? KzDbObjectId() : id;
}

KzDbObjectId modelSpace(const KzApDocument* document) {
    return find(document, modelSpaceName);
}

std::vector<KzDbObjectId> records(const KzApDocument* document) {
    std::vector<KzDbObjectId> result;
    if (const BlockTable* const table = tableOf(document)) result = table->records();
    std::erase_if(result, [](KzDbObjectId id) { return id.isErased(); });
    return result;
}

std::u16string recordName(KzDbObjectId id) {
    const auto* const record = findAs<Record>(id);
    return record != nullptr ? record->name() : std::u16string();
}

std::vector<KzDbObjectId> references(KzDbObjectId id, bool isErased) {
    std::vector<KzDbObjectId> result;
    if (const auto* const record = findAs<Record>(id)) {
        // A dependent record reports two lists, one after the other.
        record->reportReferences(isErased, [&result](const std::vector<KzDbObjectId>& list) {
            result.insert(result.end(), list.begin(), list.end());
        });
    }
    return result;
}

KzDbObjectId blockOf(KzDbObjectId id) {
    const auto* const reference = findAs<Reference>(id);
    return reference != nullptr ? reference->block() : KzDbObjectId();
}

KzDbObjectId ownerOf(KzDbObjectId id) {
    const Object* const object = objectTable.find(id);
    return object != nullptr ? object->owner() : KzDbObjectId();
}

KzDbObjectId attributeOf(KzDbObjectId id, std::u16string_view tag) {
    const auto* const reference = findAs<Reference>(id);
    if (reference == nullptr) return {};
    KzDbObjectId firstErased;
    for (const KzDbObjectId each : reference->attributes()) {
        const auto* const attribute = findAs<Attribute>(each);
        if (attribute == nullptr || attribute->tagText() != tag) continue;
        if (!attribute->isErased()) return each;
        if (firstErased.isNull()) firstErased = each;
    }
    return firstErased;
}

std::u16string attributeText(KzDbObjectId id) {
    const auto* const attribute = findAs<Attribute>(id);
    return attribute != nullptr ? attribute->text() : std::u16string();
}

/// The description of an attribute contains that of its reference; the recursion ends there.
std::string describeObject(KzDbObjectId id) {
    std::string number = std::to_string(id.value());
    switch (kindOf(id)) {
    case Kind::none:
        return "removed object " + number;
    case Kind::table:
        return "block table " + number + ofDocument(id.database());
    case Kind::record:
        return "record " + number + " " + quoted(recordName(id));
    case Kind::reference:
        return "reference " + number + " of " + quoted(recordName(blockOf(id)));
    case Kind::attribute:
        return "attribute " + number + " " + quoted(findAs<Attribute>(id)->tagText()) + " of " +
               describeObject(ownerOf(id));
    case Kind::graph:
        return "evaluation graph " + number;
    }
    return number;
}

} // namespace Headless
