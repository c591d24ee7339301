#include "tests/support/random_drawing.h"

#include "tests/support/pick.h"

using namespace Headless;

RandomDrawing::RandomDrawing(unsigned seed)
    : document(openDocument(u"main")), attached(openDocument(u"other")), random_(seed) {
    makeCurrent(document);
    makeBlocks(document, u"B");
    makeEnhancedBlock();
    makeBlocks(attached, u"X");
    records_.push_back(modelSpace(attached));
    for (int count = 0; count < 20; ++count) insertSomewhere(any());
    attachDrawing(u"SITE");
    records_.push_back(modelSpace(document));
    for (int count = 0; count < 30; ++count) insertSomewhere(any());
}

void RandomDrawing::makeBlocks(KzApDocument* owner, const std::u16string& prefix) {
    for (char16_t number = u'0'; number < u'5'; ++number)
        records_.push_back(makeBlock(owner, prefix + number));
}

void RandomDrawing::makeEnhancedBlock() {
    const KzDbObjectId early = makeBlock(document, u"*E");
    const KzDbObjectId enhanced = makeBlock(document, u"D");
    enhance(enhanced);
    represent(enhanced, early);
    records_.insert(records_.end(), {enhanced, early, represent(enhanced), represent(enhanced)});
}

RandomDrawing::Edit RandomDrawing::any() {
    const auto byte = [this] {
        return static_cast<std::uint8_t>(std::uniform_int_distribution<int>(0, 255)(random_));
    };
    return {.kind = byte(), .first = byte(), .second = byte(), .how = byte()};
}

void RandomDrawing::edit(int count) {
    while (count-- > 0) apply(any());
}

void RandomDrawing::editQuietly() {
    static const std::vector<std::uint8_t> kinds{3, 4, 6, 7, 8, 10, 19};
    Edit edit = any();
    edit.kind = pick(kinds, edit.kind);
    edit.how = static_cast<std::uint8_t>(edit.how & ~1U); // references are held and touched, not records
    if (edit.kind != 19) return apply(edit);
    add(insert(modelSpace(attached), find(attached, u"X0")), references_);
}

void RandomDrawing::apply(const Edit& edit) {
    const KzDbObjectId record = pick(records_, edit.first);
    const KzDbObjectId reference = pick(references_, edit.second);
    switch (edit.kind % 20) {
    default:
        return insertSomewhere(edit);
    case 0:
    case 1:
    case 2:
        return moveOrCopy(reference, record, edit.how);
    case 3:
        return eraseOrBack(reference);
    case 4:
        return eraseOrBack(attributeOf(reference, u"TAG"));
    case 5:
        return eraseOrBack(record);
    case 6:
        return static_cast<void>(setAttribute(reference, u"TAG", u"edited"));
    case 7:
        return static_cast<void>(goodbye(reference));
    case 8:
        return holdForAWhile(edit.how % 2 == 0 ? reference : record);
    case 9:
        return static_cast<void>(addAttribute(reference, u"MORE", u"text"));
    case 10:
        return static_cast<void>(touch(edit.how % 2 == 0 ? reference : record));
    case 11:
        return makeFurtherBlock(edit.how);
    case 12:
        return edit.how % 2 == 0 ? renameBlock(record) : static_cast<void>(enhance(record));
    case 13:
        return addRepresentation(record, pick(records_, edit.second));
    case 14:
        return edit.how % 4 == 0 ? attachDrawing(newName(u"SITE")) : releaseHold();
    }
}

void RandomDrawing::makeFurtherBlock(std::uint8_t how) {
    static const std::vector<std::u16string> prefixes{u"N", u"*T", u"*E"};
    add(makeBlock(how % 2 == 0 ? document : attached, newName(pick(prefixes, how))), records_);
}

// Blocks of an attached drawing can be placed in the main one as well, under their names there.
void RandomDrawing::attachDrawing(const std::u16string& name) {
    if (!attach(document, attached, name)) return;
    for (const KzDbObjectId record : records(document)) {
        if (recordName(record).starts_with(name)) records_.push_back(record);
    }
}

// What others know by its name keeps it.
void RandomDrawing::renameBlock(KzDbObjectId record) {
    if (std::u16string(u"BDNX").find(recordName(record).substr(0, 1)) != std::u16string::npos)
        static_cast<void>(rename(record, newName(u"N")));
}

// A block that was there before represents an enhanced one from now on, or a new one does.
void RandomDrawing::addRepresentation(KzDbObjectId block, KzDbObjectId other) {
    const bool isEarly = recordName(other).starts_with(u"*E");
    add(represent(block, isEarly ? other : KzDbObjectId()), records_);
}

void RandomDrawing::insertSomewhere(const Edit& edit) {
    std::vector<AttributeText> texts;
    if (edit.how % 3 == 0) texts.push_back({u"TAG", u"text"});
    add(insert(pick(records_, edit.first), pick(records_, edit.second), texts), references_);
}

void RandomDrawing::moveOrCopy(KzDbObjectId reference, KzDbObjectId record, std::uint8_t how) {
    if (how % 2 == 0) {
        static_cast<void>(move(reference, record));
    } else {
        add(copy(reference, record), references_);
    }
}

void RandomDrawing::eraseOrBack(KzDbObjectId object) {
    // Model space stays, and so does what stands for the attached drawing: without it nothing there has a
    // container.
    const std::u16string name = recordName(object);
    if (name != u"*Model_Space" && !name.starts_with(u"SITE"))
        static_cast<void>(erase(object, !object.isErased()));
}

void RandomDrawing::holdForAWhile(KzDbObjectId object) {
    if (held_.size() > 2) releaseHold();
    if (holdOpen(object)) held_.push_back(object);
}

void RandomDrawing::releaseHold() {
    for (const KzDbObjectId object : held_) static_cast<void>(Headless::releaseHold(object));
    held_.clear();
}

void RandomDrawing::add(KzDbObjectId made, Ids& to) {
    if (!made.isNull()) to.push_back(made);
}

std::u16string RandomDrawing::newName(const std::u16string& prefix) {
    const std::string number = std::to_string(++names_);
    return prefix + std::u16string(number.begin(), number.end());
}

std::vector<KzDbObjectId> RandomDrawing::objects() const {
    std::vector<KzDbObjectId> objects(records_);
    for (const KzDbObjectId reference : references_) {
        objects.push_back(reference);
        for (const char16_t* const tag : {u"TAG", u"MORE"}) objects.push_back(attributeOf(reference, tag));
    }
    std::erase_if(objects, [](KzDbObjectId id) { return !id.isValid(); });
    return objects;
}
