// Which reactors each edit notifies, in which order, before or after the change.

#include "tests/headless/recorder.h"

#include <deque>

using namespace Headless;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class Notifications : public DrawingTest {
protected:
    KzDbObjectId reference = insert(space, block, {{u"A", u"old"}, {u"Z", u"z"}});
    KzDbObjectId attribute = attributeOf(reference, u"A");
};

TEST_F(Notifications, EachEditNotifiesInOrder) {
    const KzDbObjectId old = makeBlock(document, u"*A");
    KzApDocument* const elsewhere = openDocument(u"elsewhere");
    for (const char16_t* name : {u"P", u"Q", u"gone"}) makeBlock(elsewhere, name);
    erase(find(elsewhere, u"gone"));
    std::deque<Recorder> recorders;
    for (const auto& [name, object] :
         {std::pair("table", document->database()->blockTableId()), std::pair("space", space),
          std::pair("block", block), std::pair("old", old), std::pair("ref", reference),
          std::pair("A", attribute)}) {
        recorders.emplace_back(log, name, object);
    }
    const auto heardOf = [&](const auto& edit, const std::function<std::string()>& state) {
        for (Recorder& each : recorders) each.before = [&] { return " " + state(); };
        EXPECT_TRUE(edit());
        return heard();
    };
    const auto text = [&] {
        const std::u16string units = attributeText(attribute);
        return std::string(units.begin(), units.end());
    };
    const auto count = [&] { return std::to_string(references(block).size()); };
    const auto isErased = [&] { return std::string(reference.isErased() ? "erased" : "live"); };
    const auto owner = [&] { return std::string(ownerOf(reference) == space ? "there" : "here"); };
    const auto none = [] { return std::string("."); };
    EXPECT_THAT(heardOf([&] { return setAttribute(reference, u"A", u"new"); }, text),
                ElementsAre("A opened old", "A modified new", "A closed"));
    EXPECT_THAT(heardOf([&] { return insert(space, block); }, count),
                ElementsAre("space opened 1", "space modified 2", "space closed"));
    EXPECT_THAT(heardOf([&] { return erase(reference); }, isErased),
                ElementsAre("ref opened live", "ref erased", "ref modified erased", "ref closed"));
    EXPECT_THAT(heardOf([&] { return erase(reference); }, isErased), IsEmpty());
    EXPECT_THAT(heardOf([&] { return erase(reference, false); }, isErased),
                ElementsAre("ref opened erased", "ref unerased", "ref modified live", "ref closed"));
    EXPECT_THAT(heardOf([&] { return copy(reference, old); }, none),
                ElementsAre("ref copied, unplaced", "old opened .", "old modified .", "old closed"));
    EXPECT_THAT(heardOf([&] { return move(reference, old); }, owner),
                ElementsAre("ref opened there", "space opened there", "old opened there", "ref modified here",
                            "space modified here", "old modified here", "ref closed", "space closed",
                            "old closed"));
    EXPECT_THAT(heardOf([&] { return move(reference, old); }, owner), SizeIs(6)) << "one container";
    EXPECT_THAT(heardOf([&] { return attach(document, elsewhere, u"X"); }, none), SizeIs(3 * 3))
        << "the table, for the attached drawing and its two live blocks";
    EXPECT_THAT(heardOf([&] { return enhance(block); }, none), SizeIs(3));
    EXPECT_THAT(heardOf([&] { return represent(block, old); }, none),
                ElementsAre("block opened .", "block modified .", "block closed"));
    EXPECT_THAT(heardOf([&] { return represent(block); }, none),
                ElementsAre("table opened .", "table modified .", "table closed", "block opened .",
                            "block modified .", "block closed"));
    EXPECT_EQ(recordName(records(document).back()), u"*U1");
}

TEST_F(Notifications, GoodbyesInOrderOfCreation) {
    const KzDbObjectId other = insert(space, block);
    const Recorder onOther(log, "other", other);
    const Recorder onReference(log, "reference", reference);
    const Recorder onTable(log, "table", document->database()->blockTableId());
    const Recorder onA(log, "A", attribute);
    const Recorder onZ(log, "Z", attributeOf(reference, u"Z"));
    goodbye(reference);
    EXPECT_THAT(heard(), ElementsAre("A goodbye", "Z goodbye", "reference goodbye")) << "attributes first";
    EXPECT_FALSE(reference.isValid() || attribute.isValid());
    const Recorder onBlock(log, "block", block);
    closeDocument(document);
    EXPECT_THAT(heard(), ElementsAre("table goodbye", "block goodbye", "other goodbye"));
}

TEST_F(Notifications, RefusedEditChangesNothing) {
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
    const std::vector<std::pair<const char*, std::function<EditResult()>>> refused = {
        {"move into held", [&] { return move(reference, held); }},
        {"move into erased", [&] { return move(reference, gone); }},
        {"copy into another drawing", [&] { return copy(reference, foreign); }},
        {"insert erased block", [&] { return insert(space, gone); }},
        {"insert foreign block", [&] { return insert(space, foreign); }},
        {"represent with held block", [&] { return represent(held); }},
        {"name taken by an erased record", [&] { return makeBlock(document, u"Gone"); }},
        {"attach to itself", [&] { return attach(document, document, u"X"); }},
        {"record says goodbye", [&] { return goodbye(block); }},
    };
    for (const auto& [name, edit] : refused) {
        EXPECT_FALSE(edit()) << name;
        EXPECT_THAT(heard(), IsEmpty()) << name;
    }
    makeBlock(document, u"X|F");
    heard();
    EXPECT_FALSE(attach(document, elsewhere, u"X")) << "one of the dependent names is taken";
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_EQ(Headless::records(document).size(), records + 1);
    EXPECT_EQ(openCountOf(document), 1U) << "only what is held";
}

} // namespace
