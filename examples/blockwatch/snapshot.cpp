#include "snapshot.h"

#include <memory>

namespace {

/// A host object that is open for reading as long as this stands; null when it did not open.
template <class T>
class Opened {
public:
    explicit Opened(KzDbObjectId id) {
        KzDbObject* object = nullptr;
        if (kzdbOpenKzDbObject(object, id, KzDb::OpenMode::forRead, T::desc(), false) == Orvo::ok) {
            object_ = static_cast<T*>(object);
        }
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    ~Opened() {
        if (object_ != nullptr) static_cast<void>(object_->close());
    }
    explicit operator bool() const { return object_ != nullptr; }
    T* operator->() const { return object_; }

private:
    T* object_ = nullptr;
};

/// The code point that begins at `text`, which moves behind it.
char32_t nextCharacter(const char16_t*& text) {
    const char32_t first = *text++;
    const bool isPair = first >= 0xD800 && first < 0xDC00 && *text >= 0xDC00 && *text < 0xE000;
    return isPair ? 0x10000 + ((first - 0xD800) << 10U) + (*text++ - U'\xDC00') : first;
}

void appendUtf8(std::string& result, char32_t c) {
    const auto put = [&](char32_t byte) { result += static_cast<char>(byte); };
    if (c < 0x80) return put(c);
    if (c < 0x800) {
        put(0xC0 | c >> 6U);
    } else {
        put(c < 0x10000 ? 0xE0 | c >> 12U : 0xF0 | c >> 18U);
        if (c >= 0x10000) put(0x80 | (c >> 12U & 0x3F));
        put(0x80 | (c >> 6U & 0x3F));
    }
    put(0x80 | (c & 0x3F));
}

std::string utf8(const char16_t* text) {
    std::string result;
    while (*text != 0) appendUtf8(result, nextCharacter(text));
    return result;
}

std::string nameOf(KzDbObjectId id) {
    const Opened<KzDbBlockTableRecord> record(id);
    const char16_t* name = nullptr;
    return record && record->getName(name) == Orvo::ok ? utf8(name) : "?";
}

std::string describe(const KzDbBlockReference& reference) {
    std::string text = "in " + nameOf(reference.ownerId());
    const std::unique_ptr<KzDbObjectIterator> each(reference.attributeIterator());
    for (; each != nullptr && !each->done(); each->step(false, true)) {
        const Opened<KzDbAttribute> attribute(each->objectId());
        if (attribute) text += ", " + utf8(attribute->tag()) + "=" + utf8(attribute->value());
    }
    return text;
}

} // namespace

Snapshot Snapshot::of(const KzDbDatabase& drawing) {
    Snapshot result;
    const Opened<KzDbBlockTable> table(drawing.blockTableId());
    KzDbBlockTableIterator* iterator = nullptr;
    if (!table || table->newIterator(iterator, true, true) != Orvo::ok) return result;
    const std::unique_ptr<KzDbBlockTableIterator> each(iterator);
    for (each->start(true, true); !each->done(); each->step(true, true)) {
        KzDbObjectId record;
        if (each->getRecordId(record) == Orvo::ok) result.read(record);
    }
    return result;
}

void Snapshot::read(KzDbObjectId id) {
    const Opened<KzDbBlockTableRecord> record(id);
    if (!record || record->isLayout()) return;
    blocks_.append(id);
    KzDbObjectIdArray references;
    if (record->getBlockReferenceIds(references, true, true) != Orvo::ok) return;
    const std::string block = nameOf(id);
    for (const KzDbObjectId each : references) {
        const Opened<KzDbBlockReference> reference(each);
        if (reference)
            placements_.insert_or_assign(each, Placement{block, describe(*reference.operator->())});
    }
}

std::vector<std::string> Snapshot::changesTo(const Snapshot& later) const {
    std::vector<std::string> lines;
    for (const auto& [reference, now] : later.placements_) {
        const auto before = placements_.find(reference);
        if (before == placements_.end()) {
            lines.push_back(now.block + ": new " + now.text);
        } else if (before->second.text != now.text) {
            lines.push_back(now.block + ": " + before->second.text + " -> " + now.text);
        }
    }
    for (const auto& [reference, before] : placements_) {
        if (!later.placements_.contains(reference)) lines.push_back(before.block + ": gone " + before.text);
    }
    return lines;
}
