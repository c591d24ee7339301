// Guards what a watch reports, whatever is edited: it equals the difference of two readings by brute force,
// and the blocks that it names are those whose callbacks Zelvane calls. Objects are held open and host calls
// fail meanwhile.

#include "headless/edits.h"
#include "headless/faults.h"
#include "headless/inspection.h"
#include "headless/modules.h"
#include "headless/session.h"
#include "zelvane/block_watch.h"
#include "zelvane/trampolines.h"

#include <gmock/gmock.h>

#include <array>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

using namespace Headless;
using Zelvane::BlockChange;
using Zelvane::BlockChanges;
using Zelvane::BlockWatch;
using Zelvane::Status;

namespace {

constexpr std::size_t blockCount = 12;

/// The host calls by which blocks are read.
constexpr std::array readings{HostCall::openObject, HostCall::references, HostCall::protocol,
                              HostCall::representations};

/// A plain callback for each block, beside the watch: what Zelvane itself tells.
std::array<bool, blockCount> isCalled;
void noteCall(std::size_t block) {
    isCalled[block] = true;
}

using Places = std::map<KzDbObjectId, KzDbObjectId>; // the owner of each reference

/// What a client knows of the drawing that believes its watch. A report that does not fit is a failure.
class Believer {
public:
    void hear(const BlockChanges& changes) {
        for (const BlockChange& change : changes) hear(change);
        named.insert(changes.affected().begin(), changes.affected().end());
        isExact = isExact && changes.isExact();
    }

    std::map<KzDbObjectId, Places> places; // of each block
    std::set<KzDbObjectId> named;
    bool isExact = true;

private:
    void hear(const BlockChange& change) {
        Places& known = places[change.block];
        EXPECT_EQ(change.before, known.size());
        for (const KzDbObjectId each : change.added) {
            EXPECT_TRUE(known.emplace(each, ownerOf(each)).second) << "was there before";
        }
        for (const KzDbObjectId each : change.removed) EXPECT_EQ(known.erase(each), 1U) << "was not there";
        for (const auto& [reference, from, to] : change.moved) {
            EXPECT_EQ(std::exchange(known[reference], to), from);
            EXPECT_NE(from, to);
        }
        EXPECT_EQ(change.after, known.size());
    }
};

class RandomEdits {
public:
    explicit RandomEdits(unsigned seed) : random_(seed) {
        for (std::size_t at = 0; at < blockCount; ++at) {
            blocks.push_back(makeBlock(document, u"B" + Zelvane::utf16(std::to_string(at))));
        }
        enhance(blocks[0]);
        for (int count = 0; count < 2; ++count) representations_.push_back(represent(blocks[0]));
        containers_ = blocks;
        containers_.push_back(modelSpace(document));
        containers_.insert(containers_.end(), representations_.begin(), representations_.end());
        for (int count = 0; count < 40; ++count) insertOne();
    }

    void edit() {
        const KzDbObjectId reference = pick(references_);
        switch (below(8)) {
        case 0:
        case 1:
            return insertOne();
        case 2:
            static_cast<void>(move(reference, pick(containers_)));
            return;
        case 3:
            return add(copy(reference, pick(containers_)));
        case 4:
            static_cast<void>(erase(reference, below(3) != 0));
            return;
        case 5:
            static_cast<void>(touch(reference));
            return;
        default:
            static_cast<void>(setAttribute(reference, u"TAG", u"x"));
        }
    }
    void hold() { hold(below(4) == 0 ? pick(blocks) : pick(references_)); }
    void holdReference() { hold(pick(references_)); }
    void letAllGo() {
        for (const KzDbObjectId each : std::exchange(held_, {})) static_cast<void>(releaseHold(each));
    }
    std::size_t below(std::size_t end) { return random_() % end; }

    /// The references of a block, read past the module and the kit.
    [[nodiscard]] Places placesOf(KzDbObjectId block) const {
        Places places;
        std::vector<KzDbObjectId> records{block};
        if (block == blocks[0])
            records.insert(records.end(), representations_.begin(), representations_.end());
        for (const KzDbObjectId record : records) {
            for (const KzDbObjectId each : references(record)) places.emplace(each, ownerOf(each));
        }
        return places;
    }

    KzApDocument* document = openDocument(u"random");
    std::vector<KzDbObjectId> blocks;

private:
    void hold(KzDbObjectId object) {
        if (static_cast<bool>(holdOpen(object))) held_.push_back(object);
    }
    void insertOne() {
        const KzDbObjectId block = below(8) == 0 ? pick(representations_) : pick(blocks);
        add(insert(pick(containers_), block, {{u"TAG", u"1"}}));
    }
    void add(const auto& made) {
        if (static_cast<bool>(made)) references_.push_back(made.id);
    }
    KzDbObjectId pick(const std::vector<KzDbObjectId>& from) { return from[below(from.size())]; }

    std::mt19937 random_;
    std::vector<KzDbObjectId> containers_, references_, representations_, held_;
};

class WatchProperty : public testing::Test {
protected:
    WatchProperty() { loadModule(MODULE, FOLDER); }
    ~WatchProperty() override { reset(); }

    /// `others`: so many blocks are watched beside, and have the lower numbers of the code.
    static void reportsWhatChanged(unsigned seed, std::size_t others) {
        RandomEdits drawing(seed);
        BlockWatch crowd;
        std::vector<KzDbObjectId> further(others);
        for (std::size_t at = 0; at < others; ++at) {
            further[at] = makeBlock(drawing.document, u"C" + Zelvane::utf16(std::to_string(at)));
        }
        const auto neverMeant = [](const BlockChanges& changes) {
            EXPECT_TRUE(changes.isEmpty() && !changes.isExact()) << "none of these changed";
        };
        if (others != 0) {
            ASSERT_EQ(crowd.attach(drawing.document, further, neverMeant), Status::ok);
        }

        // Called before the other watch, which then reads what it can.
        BlockWatch saboteur;
        bool isFailing = false;
        const auto failNext = [&](const BlockChanges&) {
            const HostCall call = readings[drawing.below(readings.size())];
            if (isFailing) failHostCall(call, 1 + drawing.below(8), FaultSpan::once);
        };
        ASSERT_EQ(saboteur.attach(drawing.document, drawing.blocks, failNext), Status::ok);

        Believer believer;
        BlockWatch watch;
        const auto hear = [&](const BlockChanges& changes) { believer.hear(changes); };
        for (const KzDbObjectId each : drawing.blocks) believer.places[each] = drawing.placesOf(each);
        drawing.holdReference(); // it is known nevertheless
        ASSERT_EQ(watch.attach(drawing.document, drawing.blocks, hear), Status::ok);
        drawing.letAllGo();
        watch.update();
        const auto plain = Zelvane::trampolines<noteCall, blockCount>();
        const KzDxExports zelvane;
        for (std::size_t at = 0; at < blockCount; ++at) {
            const KzDbObjectIdArray one = Zelvane::idArray(std::array{drawing.blocks[at]});
            ASSERT_EQ(zelvane.kzdxBlockReferenceMonitorAttach(drawing.document, &one, plain[at]), 1);
        }
        for (int round = 0; round < 20 && !HasFailure(); ++round) {
            for (std::size_t count = drawing.below(4); count != 0; --count) drawing.edit();
            if (round % 3 == 0) drawing.hold();
            isCalled = {};
            believer.named.clear();
            believer.isExact = true;
            isFailing = round % 4 == 1;
            idle();
            endFaults();
            checkNames(drawing, believer);
            drawing.letAllGo();
            touch(modelSpace(drawing.document)); // Zelvane reads all lists again
            idle();
            idle(); // and what it could not read then
            watch.update();
            for (const KzDbObjectId each : drawing.blocks) {
                ASSERT_EQ(believer.places[each], drawing.placesOf(each)) << "round " << round;
            }
        }
        for (const KzDxClientCallback each : plain) {
            zelvane.kzdxBlockReferenceMonitorDetach(drawing.document, each);
        }
        watch.detach();
        saboteur.detach();
        crowd.detach();
        ASSERT_EQ(reactorCountOf(drawing.document), 0U);
        closeDocument(drawing.document);
    }

    static void checkNames(const RandomEdits& drawing, const Believer& believer) {
        for (std::size_t at = 0; at < blockCount; ++at) {
            const bool isNamed = believer.named.contains(drawing.blocks[at]);
            ASSERT_TRUE(isNamed || !isCalled[at]) << "block " << at;
            ASSERT_TRUE(isCalled[at] || !isNamed || !believer.isExact) << "block " << at;
        }
    }
};

TEST_F(WatchProperty, SmallWatchReportsExactly) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        ASSERT_NO_FATAL_FAILURE(reportsWhatChanged(seed, 0));
    }
}
TEST_F(WatchProperty, LargeWatchMissesNothing) {
    for (unsigned seed = 0; seed < 10; ++seed) {
        SCOPED_TRACE(seed);
        ASSERT_NO_FATAL_FAILURE(reportsWhatChanged(seed, 500));
    }
}

} // namespace
