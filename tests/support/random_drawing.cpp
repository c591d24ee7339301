#include "tests/support/random_drawing.h"

#include <algorithm>

using namespace Headless;

RandomDrawing::RandomDrawing(unsigned seed)
    : document(openDocument(u"main")), attached(openDocument(u"other")), random_(seed) {
    makeCurrent(document);
    makeBlocks(document, u"B");
    makeEnhancedBlock();
    makeBlocks(attached, u"X");
    records_.push_back(modelSpace(attached));
    for (int count = 0; count < 20; ++count) insertSomewhere();
    attach(document, attached, u"SITE");
    records_.push_back(modelSpace(document));
    // The attached drawing's blocks can be placed here as well, under their names here.
    for (const KzDbObjectId record : records(document)) {
        if (recordName(record).starts_with(u"SITE")) records_.push_back(record);
    }
    for (int count = 0; count < 30; ++count) insertSomewhere();
}

void RandomDrawing::makeBlocks(KzApDocument* owner, const std::u16string& prefix) {
    for (char16_t number = u'0'; number < u'5'; ++number)
        records_.push_back(makeBlock(owner, prefix + number));
}

void RandomDrawing::makeEnhancedBlock() {
    const KzDbObjectId early = makeBlock(document, u"*E");
    const KzDbObjectId enhanced = makeBlock(document, u"D");
    Headless::enhance(enhanced);
    represent(enhanced, early);
    records_.insert(records_.end(), {enhanced, early, represent(enhanced), represent(enhanced)});
}

void RandomDrawing::edit(int count) {
    while (count-- > 0) editOnce();
}

void RandomDrawing::editOnce() {
    switch (below(12)) {
    case 0:
    case 1:
    case 2:
        return insertSomewhere();
    case 3:
    case 4:
        return moveOrCopy(any(references_));
    case 5:
        return eraseOrBack(any(references_));
    case 6:
        return eraseOrBack(attributeOf(any(references_), u"TAG"));
    case 7:
        return eraseOrBack(any(records_));
    case 8:
        return static_cast<void>(setAttribute(any(references_), u"TAG", u"edited"));
    case 9:
        return static_cast<void>(goodbye(any(references_)));
    case 10:
        return holdForAWhile(below(2) == 0 ? any(references_) : any(records_));
    default:
        return static_cast<void>(addAttribute(any(references_), u"MORE", u"text"));
    }
}

void RandomDrawing::insertSomewhere() {
    std::vector<AttributeText> texts;
    if (below(3) == 0) texts.push_back({u"TAG", u"text"});
    add(insert(any(records_), any(records_), texts), references_);
}

void RandomDrawing::moveOrCopy(KzDbObjectId reference) {
    if (below(2) == 0) {
        static_cast<void>(move(reference, any(records_)));
    } else {
        add(copy(reference, any(records_)), references_);
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
    if (held_.size() > 2) letGo();
    if (holdOpen(object)) held_.push_back(object);
}

void RandomDrawing::letGo() {
    for (const KzDbObjectId object : held_) static_cast<void>(Headless::letGo(object));
    held_.clear();
}

void RandomDrawing::add(KzDbObjectId made, std::vector<KzDbObjectId>& to) {
    if (!made.isNull()) to.push_back(made);
}

KzDbObjectId RandomDrawing::any(const std::vector<KzDbObjectId>& ids) {
    return ids[static_cast<std::size_t>(below(static_cast<int>(ids.size())))];
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
