// The client kit, used as a client uses it: this program is the client, and the module is the one that ships.

#include "headless/edits.h"
#include "headless/faults.h"
#include "headless/inspection.h"
#include "headless/modules.h"
#include "headless/session.h"
#include "zelvane/block_watch.h"
#include "zelvane/idle_timer.h"
#include "zelvane/superimposed_code.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <memory>
#include <ranges>
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
            affected = changes.affected();
            unread = changes.unread();
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
    std::vector<KzDbObjectId> affected; // of the last call
    std::vector<KzDbObjectId> unread;
    int calls = 0;
    static constexpr Zelvane::WatchOptions withAncestors{.changedAncestors = true};
};

TEST_F(Kit, ChangedAncestorsAtAnyDepth) {
    insert(room, door);
    insert(floor, room);
    const KzDbObjectId level = insert(space, floor);
    BlockWatch watch;
    ASSERT_EQ(watch.attach(document, {door, room}, log(), withAncestors), Status::ok);
    erase(level);
    EXPECT_THAT(told(), ElementsAre("Door 1-1 +0 -0 in Floor", "Room 1-1 +0 -0 in Floor"));
    EXPECT_THAT(affected, ElementsAre(door, room));
}

TEST_F(Kit, RepresentationsCountAsTheirBlocks) {
    enhance(room);
    const KzDbObjectId shape = represent(room);
    const KzDbObjectId other = represent(room);
    EXPECT_EQ(Zelvane::enhancedBlockOf(shape), room) << "without a reference";
    EXPECT_TRUE(Zelvane::enhancedBlockOf(room).isNull());
    const KzDbObjectId first = insert(shape, door);
    KzApDocument* const street = openDocument(u"street");
    const KzDbObjectId house = attach(street, document, u"house");
    BlockWatch inHouse;
    BlockWatch inStreet;
    ASSERT_EQ(inHouse.attach(document, {door, shape, room}, log(), withAncestors), Status::ok);
    EXPECT_THAT(listed(inHouse.blocks()), ElementsAre(door, room));
    ASSERT_EQ(inStreet.attach(street, {find(street, u"house|Door")}, log(), withAncestors), Status::ok);
    makeCurrent(document);
    insert(space, shape);
    EXPECT_THAT(told(), ElementsAre("Door 1-1 +0 -0 in Room", "Room 0-1 +1 -0"));
    insert(space, other);
    EXPECT_THAT(told(), ElementsAre("Door 1-1 +0 -0 in Room", "Room 1-2 +1 -0"));
    insert(space, door);
    EXPECT_THAT(told(), ElementsAre("Door 1-2 +1 -0"));
    makeCurrent(street);
    touch(first); // what comes into an attached drawing is found when an object of it is edited
    EXPECT_THAT(told(), ElementsAre("house|Door 1-2 +1 -0"));
    insert(modelSpace(street), house);
    EXPECT_THAT(told(), ElementsAre("house|Door 2-2 +0 -0 in house"));
}

// The timer keeps what the kit has for the document.
TEST_F(Kit, WatchAttachedAgainBesideTimer) {
    IdleTimer timer;
    ASSERT_EQ(timer.attach(document, 1000, [] {}), Status::ok);
    for (const std::vector<KzDbObjectId>& blocks : {std::vector{door, room}, std::vector{room}}) {
        BlockWatch watch;
        ASSERT_EQ(watch.attach(document, blocks, log()), Status::ok);
        insert(space, room);
        EXPECT_EQ(told().size(), 1U);
    }
}

TEST_F(Kit, UnreadableObjectsKeepTheirPlaces) {
    const KzDbObjectId first = insert(space, door);
    const KzDbObjectId key = makeBlock(document, u"Key");
    insert(space, key);
    holdOpen(first);
    holdOpen(key);
    BlockWatch watch;
    ASSERT_EQ(watch.attach(document, {door, key}, log()), Status::ok) << "a held record is a block";
    const KzDbObjectId second = insert(space, door);
    insert(space, key);
    EXPECT_THAT(told(), ElementsAre("Door 1-2 +1 -0"));
    EXPECT_THAT(unread, ElementsAre(door, key));
    releaseHold(first);
    releaseHold(key);
    touch(second);
    EXPECT_THAT(told(), IsEmpty()) << "nothing is new: where it lay when it was held is not known";
    EXPECT_THAT(unread, IsEmpty());
    watch.update();
    EXPECT_EQ(calls, 2) << "nothing to report";
}

TEST_F(Kit, AttachSaysWhatIsWrong) {
    const KzDbObjectId gone = makeBlock(document, u"Gone");
    const KzDbObjectId reference = insert(space, door);
    KzApDocument* const other = openDocument(u"other");
    const KzDbObjectId foreign = makeBlock(other, u"Door");
    makeCurrent(document);
    erase(gone);
    BlockWatch watch;
    auto count = [number = std::make_unique<int>(0)](const BlockChanges&) {
        ++*number;
    }; // moves, does not copy
    const auto attach = [&](KzApDocument* to, const std::vector<KzDbObjectId>& blocks) {
        return watch.attach(to, blocks, std::move(count)); // a failure leaves the function usable
    };
    EXPECT_EQ(attach(nullptr, {door}), Status::noDocument);
    EXPECT_EQ(attach(openDocument(u"bare", false), {door}), Status::noDocument);
    EXPECT_EQ(attach(document, {}), Status::noBlocks);
    EXPECT_EQ(watch.attach(document, {door}, nullptr), Status::noFunction);
    EXPECT_EQ(watch.attach(document, {door}, BlockWatch::Function()), Status::noFunction);
    for (const KzDbObjectId bad : {gone, foreign, reference, KzDbObjectId(), KzDbObjectId(1U << 30U)}) {
        EXPECT_EQ(attach(document, {bad}), Status::noSuchBlock) << bad.value();
        EXPECT_THAT(listed(watch.unknownBlocks()), ElementsAre(bad));
    }
    EXPECT_TRUE(!watch.isAttached() && openCountOf(document) == 0);
    EXPECT_EQ(watch.attach({door}), Status::notAttached);
    EXPECT_EQ(attach(document, {gone, door, door}), Status::noSuchBlock);
    EXPECT_THAT(listed(watch.unknownBlocks()), ElementsAre(gone));
    const std::vector<KzDbObjectId> further{door, room};
    EXPECT_EQ(watch.attach(further), Status::ok);
    EXPECT_TRUE(watch.unknownBlocks().isEmpty());
    EXPECT_EQ(watch.attach(document, {floor}, log()), Status::alreadyAttached);
    EXPECT_THAT(listed(watch.blocks()), ElementsAre(door, room));
    closeDocument(document);
    EXPECT_FALSE(watch.isAttached());
    EXPECT_EQ(watch.attach({door}), Status::notAttached);
    EXPECT_EQ(watch.attach(other, {foreign}, log()), Status::ok);
    unloadModule(module);
    EXPECT_EQ(watch.attach({foreign}), Status::notLoaded);
    watch.detach();
    EXPECT_EQ(watch.attach(other, {foreign}, log()), Status::notLoaded);
    IdleTimer timer;
    EXPECT_EQ(timer.attach(nullptr, 1000, [] {}), Status::noDocument);
    EXPECT_EQ(timer.attach(other, 1000, nullptr), Status::noFunction);
    EXPECT_EQ(timer.attach(other, 1000, [] {}), Status::notLoaded);
}

TEST_F(Kit, ReloadedZelvaneGoesOnCalling) {
    BlockWatch watch;
    IdleTimer timer;
    int fired = 0;
    ASSERT_EQ(watch.attach(document, {door, room}, log()), Status::ok);
    ASSERT_EQ(timer.attach(document, 0, [&] { ++fired; }), Status::ok);
    unloadModule(module);
    EXPECT_FALSE(watch.isAttached());
    EXPECT_FALSE(timer.isAttached());
    insert(space, door);
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_EQ(fired, 0);
    insert(space, room);
    for (int time = 0; time < 2; ++time) {
#ifdef _WIN32
        idle(); // there, unloading is noticed only if a command ends before the next load
#endif
        load(); // elsewhere the second time without an idle check since Zelvane was unloaded
        idle();
        insert(space, door);
        if (time == 0) {
            EXPECT_THAT(told(), ElementsAre("Door 0-2 +2 -0", "Room 0-1 +1 -0")) << "edited unnoticed";
        } else {
            EXPECT_THAT(told(), ElementsAre("Door 2-3 +1 -0"));
        }
        EXPECT_EQ(std::exchange(fired, 0), 2);
        unloadModule(module);
    }
    load();
    EXPECT_TRUE(watch.isAttached());
    watch.detach();
    timer.detach();
    EXPECT_EQ(reactorCountOf(document), 0U);
    EXPECT_EQ(managerReactorCount(), 1U) << "the kit's own reactor has left";
}

TEST_F(Kit, UnknownBlockIsAttachedLater) {
    BlockWatch watch;
    ASSERT_EQ(watch.attach(document, {door}, log()), Status::ok);
    const KzDbObjectId key = makeBlock(document, u"Key");
    ASSERT_EQ(watch.attach({key}), Status::ok);
    insert(space, key);
    EXPECT_THAT(told(), IsEmpty()) << "Zelvane has no call for it yet";
    insert(space, key);
    EXPECT_THAT(told(), ElementsAre("Key 0-2 +2 -0"));
}

TEST_F(Kit, WatchOfAllFindsNewBlocks) {
    const auto closed = openDocument(u"empty");
    BlockWatch early;
    ASSERT_EQ(early.attachAll(closed, log()), Status::ok) << "without a block";
    closeDocument(closed);
    BlockWatch watch;
    ASSERT_EQ(watch.attachAll(document, log()), Status::ok);
    EXPECT_THAT(listed(watch.blocks()), ElementsAre(door, room, floor));
    const KzDbObjectId key = makeBlock(document, u"Key");
    insert(space, key);
    insert(space, door);
    EXPECT_THAT(told(), ElementsAre("Door 0-1 +1 -0", "Key 0-1 +1 -0"));
    EXPECT_THAT(affected, ElementsAre(door, key));
    insert(space, key);
    EXPECT_THAT(told(), ElementsAre("Key 1-2 +1 -0"));
    const KzDbObjectId lock = makeBlock(document, u"Lock");
    insert(space, lock);
    EXPECT_THAT(told(), IsEmpty()) << "Zelvane does not tell of new blocks alone";
    refuse(HostCall::recordId, true);
    watch.update(); // tried again, because the table cannot be read
    refuse(HostCall::recordId, false);
    watch.update();
    EXPECT_THAT(told(), ElementsAre("Lock 0-1 +1 -0"));
    watch.detach();
    EXPECT_EQ(reactorCountOf(document), 0U);
}

TEST_F(Kit, FunctionMayDoAnything) {
    enum Action { destroyAll, closeAll, unload, replace, raise, actions };
    for (int action = 0; action < actions; ++action) {
        KzApDocument* const own = openDocument(u"own");
        const KzDbObjectId block = makeBlock(own, u"Block");
        std::vector<std::unique_ptr<BlockWatch>> watches(300);
        int called = 0;
        const auto function = [&, action, captured = std::string(100, 'x')](const BlockChanges&) {
            ++called;
            if (action == destroyAll) watches.clear();
            if (action == closeAll) closeDocument(own);
            if (action == unload) unloadModule(module);
            for (auto& each : watches) {
                if (action != replace) break;
                each = std::make_unique<BlockWatch>();
                EXPECT_EQ(each->attach(own, {block}, [&](const BlockChanges&) { ++called; }), Status::ok);
            }
            EXPECT_EQ(captured, std::string(100, 'x')) << "the function object is whole until it returns";
            if (action == raise) throw std::runtime_error("from a client");
        };
        for (auto& each : watches) {
            each = std::make_unique<BlockWatch>();
            ASSERT_EQ(each->attach(own, {block}, function), Status::ok);
        }
        insert(modelSpace(own), block);
        idle();
        EXPECT_EQ(called, action == raise ? 300 : 1) << "action " << action;
        watches.clear();
        EXPECT_EQ(reactorCountOf(own), 0U);
        closeDocument(own);
        if (action == unload) load();
    }
}

TEST_F(Kit, MessageLoopInsideFunctionIsNotNested) {
    insert(space, door);
    int depth = 0;
    BlockWatch watch;
    const auto edit = [&](const BlockChanges& changes) {
        EXPECT_EQ(++depth, 1);
        log()(changes);
        insert(space, door);
        idle();
        --depth;
    };
    ASSERT_EQ(watch.attach(document, {door}, edit), Status::ok);
    insert(space, door);
    EXPECT_THAT(told(), ElementsAre("Door 1-2 +1 -0", "Door 2-3 +1 -0")) << "at most once more";
    EXPECT_THAT(told(), IsEmpty());
    insert(space, room);
    EXPECT_THAT(told(), IsEmpty());
    insert(space, door);
    EXPECT_THAT(told(), ElementsAre("Door 3-5 +2 -0", "Door 5-6 +1 -0")) << "nothing is lost";
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

#if GTEST_HAS_DEATH_TEST
BlockWatch staticWatch;

TEST_F(Kit, StaticWatchOutlivesHost) {
    const auto attachAndExit = [this] {
        std::exit(staticWatch.attachAll(document, log()) == Status::ok ? 0 : 1);
    };
    EXPECT_EXIT(attachAndExit(), testing::ExitedWithCode(0), "");
}
#endif

TEST_F(Kit, TimersKeepTheirIntervals) {
    std::string fired;
    IdleTimer slow;
    auto fast = std::make_unique<IdleTimer>();
    ASSERT_EQ(slow.attach(document, 1000, [&] { fired += 's'; }), Status::ok);
    ASSERT_EQ(fast->attach(document, 600, [&] { fired += 'f'; }), Status::ok);
    EXPECT_EQ(slow.attach(document, 5, [] {}), Status::alreadyAttached);
    const auto firedAfter = [&](std::uint32_t milliseconds) {
        advance(milliseconds);
        idle();
        return std::exchange(fired, "");
    };
    EXPECT_EQ(firedAfter(599), "");
    EXPECT_EQ(firedAfter(1), "f");
    EXPECT_EQ(firedAfter(400), "s");
    EXPECT_EQ(firedAfter(200), "f");
    fast.reset();
    EXPECT_EQ(firedAfter(799), "");
    EXPECT_EQ(firedAfter(1), "s");
    slow.detach();
    EXPECT_EQ(firedAfter(1000), "");
}

TEST_F(Kit, TimersOfManyDocumentsStayApart) {
    std::vector<IdleTimer> timers(150);
    std::vector<std::size_t> fired;
    for (std::size_t at = 0; at < timers.size(); ++at) {
        KzApDocument* const each = openDocument(u"D" + Zelvane::utf16(std::to_string(at)));
        ASSERT_EQ(timers[at].attach(each, 10, [&fired, at] { fired.push_back(at); }), Status::ok);
    }
    advance(10);
    idle();
    EXPECT_THAT(fired, ElementsAre(149U)) << "of the current document only";
}

TEST_F(Kit, LoopOverRecordsMayEditOthers) {
    insert(space, door);
    std::vector<std::string> names;
    for (const KzDbBlockTableRecord& record : Zelvane::records(document->database())) {
        names.push_back(Zelvane::nameOf(record.objectId()));
        EXPECT_EQ(openCountOf(document), 1U);
        if (record.objectId() == door) erase(floor);
        if (record.objectId() == door) makeBlock(document, u"Later");
    }
    const auto all = Zelvane::references(door);
    EXPECT_EQ(std::ranges::distance(all), 1);
#if !defined(__clang__) || __clang_major__ >= 16 // earlier ones cannot compile the library's views
    for (const auto& each : Zelvane::references(door) | std::views::take(1)) {
        EXPECT_EQ(each.ownerId(), space);
    }
#endif
    EXPECT_THAT(names, ElementsAre("*Model_Space", "*Paper_Space", "Door", "Room"));
    EXPECT_EQ(openCountOf(document), 0U);
    EXPECT_EQ(Zelvane::findBlock(document->database(), "Room"), room);
    EXPECT_TRUE(Zelvane::findBlock(document->database(), "Floor").isNull());
    EXPECT_TRUE(Zelvane::recordIds(nullptr).isEmpty());
}

TEST(SuperimposedCode, OneChangedBlockIsExact) {
    using Code = Zelvane::detail::SuperimposedCode;
    for (std::size_t number = 0; number < 40'000; number += 61) {
        Code::Called called;
        for (std::size_t row = 0; row < Code::rows; ++row) called.set(Code::callback(number, row));
        std::vector<std::size_t> covered;
        Code::forEachCovered(called, 40'000, [&](std::size_t each) { covered.push_back(each); });
        ASSERT_THAT(covered, ElementsAre(number));
    }
}

TEST(KitNames, InvalidTextIsReplaced) {
    EXPECT_EQ(Zelvane::utf16("\xc3z\xc0\x80\xed\xa0\x80\xf4\x90\x80\x80\xe2\x82"),
              u"\ufffdz" + std::u16string(11, u'\ufffd'));
}

} // namespace
