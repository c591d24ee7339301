// What records report of references in attached drawings.

#include "tests/headless/recorder.h"

using namespace Headless;

namespace {

class References : public HostTest {};

TEST_F(References, ForeignReferencesComeFirst) {
    KzApDocument* const part = openDocument(u"part");
    const KzDbObjectId door = makeBlock(part, u"Door");
    const KzDbObjectId there = insert(modelSpace(part), door);
    KzApDocument* const house = openDocument(u"house");
    ASSERT_TRUE(attach(house, part, u"part"));
    const KzDbObjectId mirrored = find(house, u"part|Door");
    const KzDbObjectId here = insert(modelSpace(house), mirrored);
    const KzDbObjectId later = insert(modelSpace(part), door);
    EXPECT_THAT(references(mirrored), testing::ElementsAre(there, later, here));
    EXPECT_THAT(references(door), testing::ElementsAre(there, later));
    erase(there);
    erase(here);
    EXPECT_THAT(references(mirrored), testing::ElementsAre(later));
    EXPECT_THAT(references(mirrored, true), testing::ElementsAre(there, here));
    closeDocument(part);
    EXPECT_THAT(references(mirrored, true), testing::ElementsAre(here));
    EXPECT_THAT(references(mirrored), testing::IsEmpty());
}

TEST_F(References, AttachmentEndsWithItsDocument) {
    KzApDocument* const part = openDocument(u"part");
    makeBlock(part, u"*T1");
    KzApDocument* const middle = openDocument(u"middle");
    attach(middle, part, u"part");
    makeBlock(middle, u"own");
    KzApDocument* const house = openDocument(u"house");
    const KzDbObjectId stands = attach(house, middle, u"mid");
    EXPECT_FALSE(find(house, u"mid|own").isNull());
    EXPECT_EQ(records(house).size(), 4U) << "what middle itself has attached is left out";

    KzDbObject* object = nullptr;
    ASSERT_EQ(kzdbOpenKzDbObject(object, stands, KzDb::OpenMode::forRead, false), Orvo::ok);
    const auto* const record = static_cast<KzDbBlockTableRecord*>(object);
    EXPECT_TRUE(record->isFromExternalReference() && !record->isDependent());
    EXPECT_EQ(record->xrefDatabase(false), middle->database());
    closeDocument(middle);
    EXPECT_FALSE(record->isFromExternalReference());
    EXPECT_EQ(record->xrefDatabase(false), nullptr);
    object->close();
}

} // namespace
