// Which notification is sent when: for each edit, which objects hear of it, in which order, before or after
// the change.

#include "tests/headless/recorder.h"

using namespace Headless;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Notifications : public DrawingTest {
protected:
    KzDbObjectId reference = insert(space, block, {{u"A", u"old"}, {u"Z", u"z"}});
    KzDbObjectId attribute = attributeOf(reference, u"A");
};

TEST_F(Notifications, AnEditIsToldBeforeAndAfterTheChangeAndAtTheClosing) {
    Recorder onAttribute(log, "attribute", attribute);
    Recorder onReference(log, "reference", reference);
    onAttribute.before = [&] { return attributeText(attribute) == u"old" ? " before" : " after"; };
    ASSERT_TRUE(setAttribute(reference, u"A", u"new"));
    EXPECT_THAT(heard(),
                ElementsAre("attribute opened before", "attribute modified after", "attribute closed"));
}

TEST_F(Notifications, ANewReferenceEditsTheRecordThatTakesItAlone) {
    Recorder onSpace(log, "space", space);
    const Recorder onBlock(log, "block", block);
    onSpace.before = [&] { return " " + std::to_string(references(block).size()); };
    insert(space, block);
    EXPECT_THAT(heard(), ElementsAre("space opened 1", "space modified 2", "space closed"));
}

TEST_F(Notifications, ErasingIsToldBetweenTheChangeAndModified) {
    Recorder onReference(log, "reference", reference);
    onReference.before = [&] { return reference.isErased() ? " erased" : " live"; };
    erase(reference);
    EXPECT_THAT(heard(), ElementsAre("reference opened live", "reference erased", "reference modified erased",
                                     "reference closed"));
    erase(reference);
    EXPECT_THAT(heard(), IsEmpty()) << "erasing what is erased is no edit";
    erase(reference, false);
    EXPECT_THAT(heard(), ElementsAre("reference opened erased", "reference unerased",
                                     "reference modified live", "reference closed"));
}

TEST_F(Notifications, ACopyIsToldBeforeItIsPlacedAndTakesNoReactors) {
    const KzDbObjectId other = makeBlock(document, u"Other");
    const Recorder onReference(log, "reference", reference);
    const Recorder onAttribute(log, "attribute", attribute);
    const Recorder onOther(log, "other", other);
    erase(attributeOf(reference, u"Z"));
    const KzDbObjectId made = copy(reference, other);
    EXPECT_THAT(heard(),
                ElementsAre("reference copied, unplaced", "other opened", "other modified", "other closed"));
    EXPECT_EQ(reactorCount(made), 0U);
    EXPECT_EQ(reactorCount(attributeOf(made, u"A")), 0U);
    EXPECT_EQ(attributeText(attributeOf(made, u"A")), u"old");
    EXPECT_TRUE(attributeOf(made, u"Z").isNull()) << "the erased attribute is not copied";
    EXPECT_THAT(references(block), ElementsAre(reference, made));
}

TEST_F(Notifications, AMoveEditsTheReferenceAndBothRecordsOnceEach) {
    const KzDbObjectId other = makeBlock(document, u"Other");
    const Recorder onReference(log, "reference", reference);
    const Recorder onSpace(log, "space", space);
    const Recorder onOther(log, "other", other);
    move(reference, other);
    EXPECT_THAT(heard(), ElementsAre("reference opened", "space opened", "other opened", "reference modified",
                                     "space modified", "other modified", "reference closed", "space closed",
                                     "other closed"));
    EXPECT_EQ(ownerOf(reference), other);
    move(reference, other);
    EXPECT_EQ(heard().size(), 6U) << "the record that it leaves and enters is one";
}

TEST_F(Notifications, EachNewRecordEditsTheBlockTableOnce) {
    KzApDocument* const other = openDocument(u"other");
    for (const char16_t* name : {u"P", u"Q", u"gone"}) makeBlock(other, name);
    erase(find(other, u"gone"));
    const Recorder onTable(log, "table", document->database()->blockTableId());
    attach(document, other, u"X");
    EXPECT_EQ(heard().size(), 3U * 3) << "the attached drawing and its two live blocks";
}

TEST_F(Notifications, ANewRepresentationEditsTheTableAndAnOldOneTheBlockAlone) {
    enhance(block);
    const KzDbObjectId old = makeBlock(document, u"*A");
    const Recorder onTable(log, "table", document->database()->blockTableId());
    const Recorder onBlock(log, "block", block);
    const Recorder onOld(log, "old", old);
    represent(block, old);
    EXPECT_THAT(heard(), ElementsAre("block opened", "block modified", "block closed"));
    EXPECT_EQ(recordName(represent(block)), u"*U1");
    EXPECT_THAT(heard(), ElementsAre("table opened", "table modified", "table closed", "block opened",
                                     "block modified", "block closed"));
}

TEST_F(Notifications, AReferenceLeavesMemoryAfterItsAttributes) {
    const Recorder onReference(log, "reference", reference);
    const Recorder onAttribute(log, "A", attribute);
    const Recorder onOther(log, "Z", attributeOf(reference, u"Z"));
    goodbye(reference);
    EXPECT_THAT(heard(), ElementsAre("A goodbye", "Z goodbye", "reference goodbye"));
    EXPECT_FALSE(reference.isValid() || attribute.isValid());
    EXPECT_THAT(references(block), IsEmpty());
}

TEST_F(Notifications, ClosingLetsAllObjectsSayGoodbyeInOrderOfCreation) {
    const Recorder onReference(log, "reference", reference);
    const Recorder onTable(log, "table", document->database()->blockTableId());
    const Recorder onAttribute(log, "attribute", attribute);
    const Recorder onBlock(log, "block", block);
    closeDocument(document);
    EXPECT_THAT(heard(),
                ElementsAre("table goodbye", "block goodbye", "reference goodbye", "attribute goodbye"));
}

/// Every way to edit an object, tried while one object is held open.
struct Attempt {
    const char* name;
    std::function<Outcome()> edit;
};

TEST_F(Notifications, ARefusedEditHasChangedNothingAndToldNobody) {
    KzApDocument* const elsewhere = openDocument(u"elsewhere");
    const KzDbObjectId foreign = makeBlock(elsewhere, u"F");
    const KzDbObjectId held = makeBlock(document, u"Held");
    const KzDbObjectId gone = makeBlock(document, u"Gone");
    erase(gone);
    holdOpen(held);
    const Recorder onSpace(log, "space", space);
    const Recorder onReference(log, "reference", reference);
    const Recorder onTable(log, "table", document->database()->blockTableId());
    const std::size_t records = Headless::records(document).size();
    const std::vector<Attempt> attempts = {
        {"move into held", [&] { return move(reference, held); }},
        {"move into erased", [&] { return move(reference, gone); }},
        {"move into another drawing", [&] { return move(reference, foreign); }},
        {"copy into held", [&] { return copy(reference, held); }},
        {"copy into another drawing", [&] { return copy(reference, foreign); }},
        {"insert erased block", [&] { return insert(space, gone); }},
        {"insert foreign block", [&] { return insert(space, foreign); }},
        {"represent with held block", [&] { return represent(held); }},
        {"represent a plain block", [&] { return represent(block); }},
        {"name taken", [&] { return makeBlock(document, u"B"); }},
        {"name taken by an erased record", [&] { return makeBlock(document, u"Gone"); }},
        {"attach to itself", [&] { return attach(document, document, u"X"); }},
        {"record says goodbye", [&] { return goodbye(block); }},
    };
    for (const Attempt& each : attempts) {
        EXPECT_FALSE(each.edit()) << each.name;
        EXPECT_THAT(heard(), IsEmpty()) << each.name;
    }
    makeBlock(document, u"X|F");
    heard();
    EXPECT_FALSE(attach(document, elsewhere, u"X")) << "one of the dependent names is taken";
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_EQ(Headless::records(document).size(), records + 1);
    EXPECT_EQ(openCountOf(document), 1U) << "only what is held";
}

} // namespace
