// The client kit, used as a client uses it: this program is the client, and the module is the one that ships.

#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/modules.h"
#include "headless/session.h"
#include "zelvane/block_watch.h"
#include "zelvane/idle_timer.h"

#include <gmock/gmock.h>

#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Headless;
using testing::ElementsAre;
using testing::IsEmpty;
using Zelvane::BlockChange;
using Zelvane::BlockChanges;
using Zelvane::BlockWatch;
using Zelvane::IdleTimer;
using Zelvane::Status;

namespace {

KzDbObjectIdArray ids(const std::vector<KzDbObjectId>& all) {
    return Zelvane::idArray(all);
}

std::vector<KzDbObjectId> listed(const KzDbObjectIdArray& array) {
    return {array.begin(), array.end()};
}

class Kit : public testing::Test {
protected:
    Kit() { load(); }
    ~Kit() override { reset(); }

    void load() { module = loadModule(MODULE, FOLDER).module; }
    /// What each call of a watch says: a line for each block.
    BlockWatch::Function log() {
        return [this](const BlockChanges& changes) {
            ++calls;
            for (const BlockChange& change : changes) lines.push_back(lineOf(change));
        };
    }
    std::vector<std::string> told() {
        idle();
        return std::exchange(lines, {});
    }
    static std::string lineOf(const BlockChange& change) {
        std::string line = Zelvane::nameOf(change.block) + " " + std::to_string(change.before) + "-" +
                           std::to_string(change.after) + " +" + std::to_string(change.added.size()) + " -" +
                           std::to_string(change.removed.size());
        for (const auto& move : change.moved) {
            line += " " + Zelvane::nameOf(move.from) + ">" + Zelvane::nameOf(move.to);
        }
        for (const KzDbObjectId around : change.changedAncestors) line += " in " + Zelvane::nameOf(around);
        return line;
    }

    ModuleId module = ModuleId::none;
    KzApDocument* document = openDocument(u"house");
    KzDbObjectId space = modelSpace(document);
    KzDbObjectId door = makeBlock(document, u"Door");
    KzDbObjectId room = makeBlock(document, u"Room");
    KzDbObjectId floor = makeBlock(document, u"Floor");
    std::vector<std::string> lines;
    int calls = 0;
};

TEST_F(Kit, AWatchTellsWhatTheDrawingTells) {
    const KzDbObjectId first = insert(room, door);
    insert(floor, room);
    const KzDbObjectId level = insert(space, floor);
    BlockWatch watch;
    ASSERT_EQ(watch.attach(document, ids({door, room}), log(), {.changedAncestors = true}), Status::ok);
    const KzDbObjectId second = insert(space, door);
    EXPECT_THAT(told(), ElementsAre("Door 1-2 +1 -0"));
    move(second, floor);
    erase(first);
    EXPECT_THAT(told(), ElementsAre("Door 2-1 +0 -1 *Model_Space>Floor"));
    erase(level);
    EXPECT_THAT(told(), ElementsAre("Door 1-1 +0 -0 in Floor", "Room 1-1 +0 -0 in Floor"));
    touch(second);
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_EQ(calls, 4) << "a change that moves nothing is told as well";
    idle();
    EXPECT_EQ(calls, 4);
}

TEST_F(Kit, RepresentationsAndAttachmentsCountAsWhatTheyStandFor) {
    enhance(room);
    const KzDbObjectId shape = represent(room);
    const KzDbObjectId first = insert(shape, door);
    KzApDocument* const street = openDocument(u"street");
    const KzDbObjectId house = attach(street, document, u"house");
    BlockWatch inHouse;
    BlockWatch inStreet;
    ASSERT_EQ(inHouse.attach(document, ids({door, room}), log(), {.changedAncestors = true}), Status::ok);
    ASSERT_EQ(inStreet.attach(street, ids({find(street, u"house|Door")}), log(), {.changedAncestors = true}), Status::ok);
    makeCurrent(document);
    insert(space, shape);
    EXPECT_THAT(told(), ElementsAre("Door 1-1 +0 -0 in Room", "Room 0-1 +1 -0"));
    insert(space, door);
    EXPECT_THAT(told(), ElementsAre("Door 1-2 +1 -0"));
    makeCurrent(street);
    touch(first); // what comes into an attached drawing is found when something of it is edited
    EXPECT_THAT(told(), ElementsAre("house|Door 1-2 +1 -0"));
    insert(modelSpace(street), house);
    EXPECT_THAT(told(), ElementsAre("house|Door 2-2 +0 -0 in house"));
}

TEST_F(Kit, BadInputIsSaidAndLosesNothing) {
    const KzDbObjectId gone = makeBlock(document, u"Gone");
    const KzDbObjectId reference = insert(space, door);
    KzApDocument* const other = openDocument(u"other");
    const KzDbObjectId foreign = makeBlock(other, u"Door");
    makeCurrent(document);
    erase(gone);
    BlockWatch watch;
    EXPECT_EQ(watch.attach(nullptr, ids({door}), log()), Status::noDocument);
    EXPECT_EQ(watch.attach(openDocument(u"bare", false), ids({door}), log()), Status::noDocument);
    EXPECT_EQ(watch.attach(document, {}, log()), Status::noBlocks);
    EXPECT_EQ(watch.attach(document, ids({door}), nullptr), Status::noFunction);
    for (const KzDbObjectId bad : {gone, foreign, reference, KzDbObjectId(), KzDbObjectId(1U << 30U)}) {
        EXPECT_EQ(watch.attach(document, ids({bad}), log()), Status::noSuchBlock) << bad.value();
    }
    EXPECT_FALSE(watch.isAttached());
    EXPECT_EQ(watch.attach(ids({door})), Status::notAttached);
    EXPECT_EQ(watch.attach(document, ids({gone, door, door}), log()), Status::noSuchBlock);
    holdOpen(room);
    EXPECT_EQ(watch.attach(ids({door, room})), Status::ok) << "a record held open is a block";
    letGo(room);
    EXPECT_EQ(watch.attach(document, ids({floor}), log()), Status::alreadyAttached);
    EXPECT_THAT(listed(watch.blocks()), ElementsAre(door, room));
    makeCurrent(document);
    insert(space, door);
    insert(space, room);
    insert(space, floor);
    EXPECT_THAT(told(), ElementsAre("Door 1-2 +1 -0"));
    insert(space, room);
    EXPECT_THAT(told(), ElementsAre("Room 1-2 +1 -0")) << "known since it could be read";
    closeDocument(document);
    EXPECT_FALSE(watch.isAttached());
    EXPECT_EQ(watch.attach(other, ids({foreign}), log()), Status::ok);
    unloadModule(module);
    EXPECT_EQ(watch.attach(ids({foreign})), Status::notLoaded);
    EXPECT_FALSE(watch.isAttached());
    load();
    EXPECT_TRUE(watch.isAttached());
    makeCurrent(other);
    insert(modelSpace(other), foreign);
    EXPECT_THAT(told(), ElementsAre("Door 0-1 +1 -0")) << "revived after Zelvane was loaded again";
    watch.detach();
    unloadModule(module);
    EXPECT_EQ(watch.attach(other, ids({foreign}), log()), Status::notLoaded);
}

TEST_F(Kit, AFunctionMayDoAnythingToItsWatchAndItsNeighbours) {
    enum Deed { destroyAll, closeAll, unload, replace, raise, deeds };
    for (int deed = 0; deed < deeds; ++deed) {
        KzApDocument* const own = openDocument(u"own");
        const KzDbObjectId block = makeBlock(own, u"Block");
        std::vector<std::unique_ptr<BlockWatch>> watches(5);
        int called = 0;
        const auto function = [&, deed, captured = std::string(100, 'x')](const BlockChanges&) {
            ++called;
            if (deed == destroyAll) watches.clear();
            if (deed == closeAll) closeDocument(own);
            if (deed == unload) unloadModule(module);
            for (auto& each : watches) {
                if (deed != replace) break;
                each = std::make_unique<BlockWatch>();
                EXPECT_EQ(each->attach(own, ids({block}), [&](const BlockChanges&) { ++called; }),
                          Status::ok);
            }
            EXPECT_EQ(captured, std::string(100, 'x')) << "the function object is whole until it returns";
            if (deed == raise) throw std::runtime_error("from a client");
        };
        for (auto& each : watches) {
            each = std::make_unique<BlockWatch>();
            ASSERT_EQ(each->attach(own, ids({block}), function), Status::ok);
        }
        insert(modelSpace(own), block);
        idle();
        EXPECT_EQ(called, deed == raise ? 5 : 1) << "deed " << deed;
        watches.clear();
        EXPECT_EQ(reactorCountOf(own), 0U);
        closeDocument(own);
        if (deed == unload) load();
    }
}

TEST_F(Kit, NothingIsCalledInsideItselfAndNothingIsLost) {
    insert(space, door);
    int depth = 0;
    BlockWatch watch;
    const auto edit = [&](const BlockChanges& changes) {
        EXPECT_EQ(++depth, 1);
        log()(changes);
        if (calls == 1) {
            insert(space, door);
            idle();
        }
        --depth;
    };
    ASSERT_EQ(watch.attach(document, ids({door}), edit), Status::ok);
    insert(space, door);
    EXPECT_THAT(told(), ElementsAre("Door 1-2 +1 -0", "Door 2-3 +1 -0"));
    int fired = 0;
    IdleTimer timer;
    const auto pumpInside = [&] {
        ++fired;
        idle();
    };
    ASSERT_EQ(timer.attach(document, 0, pumpInside), Status::ok);
    idle();
    EXPECT_EQ(fired, 1);
}

// Attached, detached and edited at random: whoever is meant is called, and up to the number of plain
// functions nobody else is; whoever has gone is not.
TEST_F(Kit, ThereMayBeAnyNumberOfWatches) {
    std::mt19937 random(7);
    for (const std::size_t most : {128U, 300U}) {
        std::vector<KzDbObjectId> blocks;
        std::vector<std::unique_ptr<BlockWatch>> watches(most);
        std::vector<int> called(most);
        for (std::size_t at = 0; at < most; ++at) {
            blocks.push_back(makeBlock(document, u"B" + Zelvane::utf16(std::to_string(most + at * 1000))));
        }
        for (int round = 0; round < 20; ++round) {
            for (std::size_t at = 0; at < most; ++at) {
                if (round != 0 && random() % 4 != 0) continue;
                watches[at] = watches[at] ? nullptr : std::make_unique<BlockWatch>();
                if (!watches[at]) continue;
                const auto count = [&called, at](const BlockChanges&) { ++called[at]; };
                ASSERT_EQ(watches[at]->attach(document, ids({blocks[at]}), count), Status::ok);
            }
            const std::size_t edited = random() % most;
            insert(space, blocks[edited]);
            called.assign(most, 0);
            idle();
            for (std::size_t at = 0; at < most; ++at) {
                const bool isMeant = watches[at] && at == edited;
                if (watches[at] && !isMeant && most > 128) continue;
                ASSERT_EQ(called[at], isMeant ? 1 : 0);
            }
        }
        watches.clear();
        EXPECT_EQ(reactorCountOf(document), 0U);
    }
}

TEST_F(Kit, OneOfManyMayDestroyAll) {
    std::vector<BlockWatch> crowd(300);
    for (BlockWatch& each : crowd) {
        const auto destroyAll = [&](const BlockChanges&) {
            ++calls;
            crowd.clear();
        };
        ASSERT_EQ(each.attach(document, ids({door}), destroyAll), Status::ok);
    }
    insert(space, door);
    idle();
    EXPECT_EQ(calls, 1);
}

TEST_F(Kit, ATimerThatEndsLeavesTheIntervalOfTheOthers) {
    std::string fired;
    IdleTimer slow;
    auto fast = std::make_unique<IdleTimer>();
    EXPECT_EQ(slow.attach(nullptr, 1000, [] {}), Status::noDocument);
    EXPECT_EQ(slow.attach(document, 1000, nullptr), Status::noFunction);
    ASSERT_EQ(slow.attach(document, 1000, [&] { fired += 's'; }), Status::ok);
    ASSERT_EQ(fast->attach(document, 10, [&] { fast.reset(); }), Status::ok);
    EXPECT_EQ(slow.attach(document, 5, [] {}), Status::alreadyAttached);
    advance(10);
    idle();
    EXPECT_EQ(fast, nullptr);
    fired.clear();
    advance(989);
    idle();
    EXPECT_EQ(fired, "");
    advance(1);
    idle();
    EXPECT_EQ(fired, "s");
    slow.detach();
    advance(1000);
    idle();
    EXPECT_EQ(fired, "s");
}

TEST_F(Kit, ALoopOverRecordsMayEditAllButTheOneItIsAt) {
    insert(space, door);
    std::vector<std::string> names;
    for (const KzDbBlockTableRecord& record : Zelvane::records(document->database())) {
        names.push_back(Zelvane::nameOf(record.objectId()));
        EXPECT_EQ(openCountOf(document), 1U);
        if (record.objectId() == door) erase(floor);
        if (record.objectId() == door) makeBlock(document, u"Later");
    }
    EXPECT_THAT(names, ElementsAre("*Model_Space", "*Paper_Space", "Door", "Room"));
    EXPECT_EQ(openCountOf(document), 0U);
    EXPECT_EQ(Zelvane::findBlock(document->database(), "Room"), room);
    EXPECT_TRUE(Zelvane::findBlock(document->database(), "Floor").isNull());
    EXPECT_TRUE(Zelvane::recordIds(nullptr).isEmpty());
}

TEST(KitNames, WhatIsNotValidIsReplacedAndTheRestComesBack) {
    const std::u16string text = u"A\u00e4\u20ac\U0001f600\uffff";
    EXPECT_EQ(Zelvane::utf8(text), "A\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80\xef\xbf\xbf");
    EXPECT_EQ(Zelvane::utf16(Zelvane::utf8(text)), text);
    const char16_t lone[] = {0xDC00, u'b', 0xD800, u'c', 0xD83D};
    EXPECT_EQ(Zelvane::utf16(Zelvane::utf8(std::u16string_view(lone, 5))), u"\ufffdb\ufffdc\ufffd");
    EXPECT_EQ(Zelvane::utf16("\xc3z\xc0\x80\xed\xa0\x80\xf4\x90\x80\x80\xe2\x82"),
              u"\ufffdz" + std::u16string(11, u'\ufffd'));
}

} // namespace
