// What records report of their references: after any edits the same as a plain list kept beside says.

#include "tests/headless/recorder.h"

#include <algorithm>
#include <map>
#include <random>

using namespace Headless;

namespace {

/// The references of a few blocks as a list in order of creation, edited together with the drawing.
class Model {
public:
    explicit Model(unsigned seed) : random_(seed) {
        for (const char16_t* name : {u"A", u"B", u"C"}) blocks_.push_back(makeBlock(document_, name));
    }

    KzApDocument* document() { return document_; }
    const std::vector<KzDbObjectId>& blocks() { return blocks_; }

    void editAtRandom() {
        const std::size_t choice = below(8);
        if (references_.empty() || choice < 3) return add(insert(anyBlock(), anyBlock()));
        Entry& entry = references_[below(references_.size())];
        if (choice == 3) return addCopyOf(entry);
        if (choice == 4) move(entry.id, anyBlock());
        if (choice == 5) goodbye(entry.id);
        if (choice >= 6) erase(entry.id, choice == 6);
        entry.isErased = choice == 6 || (entry.isErased && choice != 7);
        if (choice == 5) references_.erase(references_.begin() + (&entry - references_.data()));
    }

    std::vector<KzDbObjectId> expected(KzDbObjectId block, bool isErased) {
        std::vector<KzDbObjectId> result;
        for (const Entry& each : references_) {
            if (each.block == block && each.isErased == isErased) result.push_back(each.id);
        }
        return result;
    }

private:
    struct Entry {
        KzDbObjectId id;
        KzDbObjectId block;
        bool isErased = false;
    };

    std::size_t below(std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
    }
    KzDbObjectId anyBlock() { return blocks_[below(blocks_.size())]; }
    void add(KzDbObjectId id) { references_.push_back({id, blockOf(id)}); }
    void addCopyOf(const Entry& entry) {
        if (const Made made = copy(entry.id)) add(made);
    }

    std::mt19937 random_;
    KzApDocument* document_ = openDocument(u"model");
    std::vector<KzDbObjectId> blocks_;
    std::vector<Entry> references_;
};

class References : public HostTest {};

TEST_F(References, EqualAPlainListAfterEdits) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        Model model(seed);
        for (int edit = 0; edit < 120; ++edit) {
            model.editAtRandom();
            if (edit % 7 != 0) continue; // several changes between two questions
            for (const KzDbObjectId block : model.blocks()) {
                ASSERT_EQ(references(block), model.expected(block, false))
                    << "seed " << seed << " edit " << edit;
                ASSERT_EQ(references(block, true), model.expected(block, true)) << "seed " << seed;
            }
        }
    }
}

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
