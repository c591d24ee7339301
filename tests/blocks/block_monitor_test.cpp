// Guards how the graph follows a drawing where few notifications are sent: what is registered, which marks
// are set and dropped, and what nodes do when they are called directly.

#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/update_check.h"
#include "frame/application.h"
#include "tests/support/graph_checks.h"
#include "tests/support/host_call_names.h"
#include "tests/support/module_test.h"
#include "zelvane/opened.h"

#include <algorithm>
#include <functional>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Headless::HostCall;

class BlockMonitor : public ModuleTest {
protected:
    KzDbObjectId makeBlock(const char16_t* name) { return Headless::makeBlock(document, name); }
    KzDxBlocks& graph() { return graphOf(document); }
    void attach(KzDbObjectId block, std::size_t client) {
        ASSERT_EQ(watch(document, {block}, TestClients::client(client)), 1);
    }
    std::vector<int> callsOfIdle() {
        Headless::idle();
        return clients.takeCalls();
    }
    std::vector<int> callsAfterTouching(KzDbObjectId object) {
        EXPECT_TRUE(Headless::touch(object));
        return callsOfIdle();
    }
    /// The host calls of the update after an edit, with the first client on the door: each fails in turn.
    std::vector<HostCall> callsAfter(const std::function<void()>& edit) {
        for (std::vector<HostCall> calls;; calls.push_back(*Headless::callsUpToFault().back())) {
            edit();
            const KzDxUpdateCheck::Pause pause;
            Headless::failHostCall(std::nullopt, calls.size() + 1, Headless::FaultSpan::once);
            kzdxUpdateBlockGraph(document, false, false);
            if (Headless::endFaults() == 0) return calls;
            kzdxBlockReferenceMonitorDetach(document, TestClients::client(0));
            attach(door, 0); // drops what a failed call has left
        }
    }
    static void expectCount(const std::vector<HostCall>& calls, HostCall kind, std::size_t count,
                            const char* reason) {
        std::string list;
        for (const HostCall each : calls) list += std::string(" ") + nameOf(each);
        EXPECT_EQ(std::ranges::count(calls, kind), count)
            << reason << "; the calls were" << list.substr(0, 3000);
    }
    /// What an update finds that reads everything.
    std::vector<int> callsOfForcedUpdate() {
        EXPECT_EQ(kzdxUpdateBlockGraph(document, true, true), 1);
        return clients.takeCalls();
    }

    KzApDocument* const document = Headless::openDocument(u"house");
    const KzDbObjectId space = Headless::modelSpace(document);
    const KzDbObjectId frame = makeBlock(u"FRAME");
    const KzDbObjectId desk = makeBlock(u"DESK");
    const KzDbObjectId door = makeBlock(u"DOOR");
};

TEST_F(BlockMonitor, FirstAttachDropsEarlierEdits) {
    const KzDbObjectId reference = Headless::insert(space, door);
    attach(door, 0);
    EXPECT_THAT(callsOfForcedUpdate(), IsEmpty());
    KzDxDocument& data = *KzDxApplication::instance()->docData(document, false);
    EXPECT_EQ(data.runningTimers().size(), 1U);
    kzdxBlockReferenceMonitorDetach(document, TestClients::client(0));
    EXPECT_TRUE(data.runningTimers().isEmpty());
    ASSERT_TRUE(Headless::insert(space, door));
    attach(door, 0);
    EXPECT_THAT(callsOfForcedUpdate(), IsEmpty());
    ASSERT_TRUE(Headless::touch(reference));
    attach(door, 1);
    EXPECT_THAT(callsOfIdle(), ElementsAre(0, 1)) << "the second client joins a watching under way";
}

TEST_F(BlockMonitor, EditsInsideCallbackAreNotReported) {
    const KzDbObjectId reference = Headless::insert(space, door);
    attach(door, 0);
    clients.onCall[0] = [&] { EXPECT_TRUE(Headless::touch(reference)); };
    EXPECT_THAT(callsAfterTouching(reference), ElementsAre(0));
    EXPECT_THAT(callsOfIdle(), IsEmpty());
    EXPECT_THAT(callsOfForcedUpdate(), IsEmpty());
    clients.onCall[0] = [&] { EXPECT_EQ(kzdxUpdateBlockGraph(document, true, true), 1); };
    EXPECT_THAT(callsAfterTouching(reference), ElementsAre(0)) << "an update inside finds nothing new";
    ASSERT_TRUE(Headless::insert(door, desk));
    attach(desk, 1);
    ASSERT_TRUE(Headless::touch(reference));
    graph().node(door)->setHasChanges(false);
    EXPECT_THAT(callsOfIdle(), ElementsAre(1)) << "a cleared mark is no change";
}

TEST_F(BlockMonitor, CopyingIsAChange) {
    const KzDbObjectId reference = Headless::insert(space, door);
    attach(door, 0);
    const KzDbObjectId copy = Headless::copy(reference);
    KzDxBlock& node = *graph().node(door);
    EXPECT_TRUE(node.needsScan());
    ASSERT_TRUE(Headless::goodbye(copy));
    EXPECT_THAT(callsOfIdle(), ElementsAre(0));

    const Zelvane::Opened<KzDbBlockTableRecord> record(door, KzDb::OpenMode::forNotify);
    node.copied(record.get(), record.get());
    EXPECT_TRUE(node.needsScan() && graph().needsScan());
    EXPECT_FALSE(node.hasChanges()) << "a copied record changes nothing";
    node.goodbye(record.get());
    EXPECT_EQ(Headless::reactorCount(door), 0U);
}

// A reference shows which block its record represents; any edit may change that, some without a notification.
TEST_F(BlockMonitor, UncertainReferencesAreReadAgain) {
    ASSERT_TRUE(Headless::enhance(door));
    const KzDbObjectId other = Headless::insert(space, desk);
    KzDbObjectId first;
    KzDbObjectId second;
    const auto update = [&] { kzdxUpdateBlockGraph(document, false, false); };
    const auto isTakenInAfter = [&](const std::function<void()>& before, const std::function<void()>& after) {
        kzdxBlockReferenceMonitorDetach(document, TestClients::client(0));
        attach(desk, 0); // registers with the records added before
        const KzDbObjectId representation = Headless::represent(door);
        first = Headless::insert(space, representation, {{u"TAG", u"1"}});
        second = Headless::insert(space, representation);
        before();
        const KzDxUpdateCheck::Pause pause;
        Headless::failHostCall(HostCall::originalBlock, 1, Headless::FaultSpan::fromThenOn);
        update();
        EXPECT_GT(Headless::endFaults(), 0U);
        EXPECT_EQ(graph().node(representation)->recordIds().length(), 1) << "it shows none";
        after();
        EXPECT_TRUE(Headless::touch(other));
        update();
        return std::ranges::count(graph().node(door)->recordIds(), representation) == 1;
    };
    const auto nothing = [] {};
    EXPECT_TRUE(isTakenInAfter(nothing, [&] { EXPECT_TRUE(Headless::touch(first)); }));
    EXPECT_TRUE(isTakenInAfter(nothing, [&] { EXPECT_TRUE(Headless::goodbye(first)); }));
    EXPECT_TRUE(isTakenInAfter([&] { EXPECT_TRUE(Headless::holdOpen(second)); }, nothing));
    EXPECT_TRUE(Headless::releaseHold(second));
    const auto editWithoutReading = [&] {
        EXPECT_TRUE(Headless::setAttribute(first, u"TAG", u"2"));
        const std::size_t references = 3; // opened after the table and the record
        const KzDxUpdateCheck::Pause pause;
        Headless::failHostCall(HostCall::openObject, references, Headless::FaultSpan::fromThenOn);
        update();
        EXPECT_GT(Headless::endFaults(), 0U);
    };
    EXPECT_TRUE(isTakenInAfter(nothing, editWithoutReading));
}

// A graph that could not unregister from a reference is deleted when any graph reads its drawing.
TEST_F(BlockMonitor, ScansRetryPendingUnregistrations) {
    const KzDbObjectId reference = Headless::insert(space, door);
    KzDxBlocks& next = graphOf(Headless::openDocument(u"next"));
    attach(door, 0);
    ASSERT_TRUE(Headless::insert(space, desk));
    kzdxUpdateBlockGraph(document, false, false); // from here on it need not look at every record
    for (const bool isScan : {true, false}) {
        std::optional<PlainGraph> other(std::in_place, document);
        ASSERT_TRUE(Headless::holdOpen(reference));
        other.reset();
        ASSERT_TRUE(Headless::releaseHold(reference));
        EXPECT_EQ(Headless::reactorCount(reference), 2U);
        EXPECT_TRUE(KzDxDeferredDeletion::hasPending());
        if (isScan) {
            next.scanBlockTable();
        } else {
            ASSERT_TRUE(Headless::touch(reference));
            kzdxUpdateBlockGraph(document, false, false);
        }
        EXPECT_EQ(Headless::reactorCount(reference), 1U);
        EXPECT_FALSE(KzDxDeferredDeletion::hasPending());
    }
    const std::size_t watched = Headless::records(document).size() + 2;
    const KzDxUpdateCheck::Pause pause;
    Headless::failHostCall(Headless::HostCall::openObject, watched + 1, Headless::FaultSpan::fromThenOn);
    graph().reset();
    EXPECT_EQ(Headless::endFaults(), 0U) << "what was left is not left again";
    EXPECT_FALSE(KzDxDeferredDeletion::hasPending()) << "only what cannot leave waits";
}

TEST_F(BlockMonitor, HeldReferenceOfErasedRepresentation) {
    ASSERT_TRUE(Headless::enhance(door));
    const KzDbObjectId representation = Headless::represent(door);
    const KzDbObjectId reference = Headless::insert(space, representation);
    attach(door, 0);
    ASSERT_TRUE(Headless::holdOpen(reference) && Headless::erase(representation));
    callsOfIdle();
    EXPECT_EQ(Headless::reactorCount(reference), 1U);
    ASSERT_TRUE(Headless::releaseHold(reference) && Headless::touch(space));
    callsOfIdle();
    EXPECT_EQ(Headless::reactorCount(reference), 0U);
}

TEST_F(BlockMonitor, NodesReadOnRequest) {
    KzDxBlocks& blocks = graph();
    KzDxBlock& node = *blocks.node(door);
    const KzDbObjectId inFrame = Headless::insert(frame, door);
    ASSERT_FALSE(node.isStale());
    EXPECT_EQ(node.refresh(), Orvo::ok);
    EXPECT_TRUE(node.isStale()) << "the next update looks at it too";
    EXPECT_THAT(referencesIn(node.containers(), frame), ElementsAre(inFrame));
    const KzDbObjectId inDesk = Headless::insert(desk, frame);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(node.evaluate(frame), Orvo::ok);
        EXPECT_EQ(node.recordIds().length(), 2) << "a record is taken in once";
    }
    EXPECT_THAT(referencesIn(node.containers(), desk), ElementsAre(inDesk));
    EXPECT_NE(blocks.node(frame), &node) << "the key led to another node already";
    EXPECT_EQ(node.evaluate(KzDbObjectId()), Orvo::invalidObjectId);
    const KzDbObjectId held = Headless::insert(space, desk);
    ASSERT_TRUE(Headless::holdOpen(held));
    EXPECT_EQ(blocks.node(desk)->refresh(), Orvo::ok);
    ASSERT_TRUE(Headless::releaseHold(held));
    EXPECT_EQ(blocks.node(desk)->setEnabled(true), Orvo::ok);
    EXPECT_EQ(Headless::reactorCount(held), 0U) << "it is not filed yet";
    EXPECT_EQ(blocks.node(desk)->setEnabled(false), Orvo::ok);
    KzDxBlock* made = &node;
    EXPECT_EQ(KzDxBlock::create(made, &blocks, nullptr), Orvo::missingCollaborator);
    EXPECT_EQ(made, nullptr);
    ASSERT_TRUE(Headless::holdOpen(door));
    for (const bool enable : {true, false}) {
        EXPECT_EQ(node.setEnabled(enable), Orvo::heldOpenForWrite);
        EXPECT_EQ(node.isEnabled(), enable) << "the rest is switched";
    }
    EXPECT_EQ(node.refresh(), Orvo::heldOpenForWrite);
    ASSERT_TRUE(Headless::releaseHold(door));
}

TEST_F(BlockMonitor, UpdateReadsOnlyPossibleChanges) {
    const KzDbObjectId edited = Headless::insert(space, door, {{u"TAG", u"1"}});
    for (const KzDbObjectId container : {space, frame}) Headless::insert(container, door);
    for (int made = 0; made < 20; ++made) Headless::insert(frame, desk);
    static_cast<void>(graph());
    ASSERT_TRUE(Headless::holdOpen(frame)); // its node cannot register with it until the next switching on
    attach(door, 0);
    ASSERT_TRUE(Headless::releaseHold(frame));
    kzdxBlockReferenceMonitorDetach(document, TestClients::client(0));
    attach(door, 0);
    const auto edit = [&] { ASSERT_TRUE(Headless::setAttribute(edited, u"TAG", u"2")); };
    std::vector<HostCall> calls = callsAfter(edit);
    expectCount(calls, HostCall::references, 1, "the door's record");
    expectCount(calls, HostCall::openObject, 5, "the table, that record and its references");
    const std::size_t records = Headless::records(document).size();
    const auto insert = [&] { ASSERT_TRUE(Headless::insert(space, door)); };
    calls = callsAfter(insert);
    expectCount(calls, HostCall::references, records + 1, "each record, and the door's to read it");
    expectCount(
        calls, HostCall::openObject, records + 4,
        "the table, each record, those of the door and of model space to read, and the new reference");
    // What could not be read for a time costs no more than anything else once it could.
    const KzDbObjectId other = Headless::references(door).back();
    ASSERT_TRUE(Headless::holdOpen(edited));
    callsAfterTouching(other);
    EXPECT_TRUE(graph().updateState().needsReferenceLists());
    ASSERT_TRUE(Headless::releaseHold(edited));
    callsAfterTouching(other);
    EXPECT_FALSE(graph().updateState().needsReferenceLists());
}

TEST_F(BlockMonitor, UncertainRecordsCostLittle) {
    KzApDocument* const site = Headless::openDocument(u"site");
    ASSERT_TRUE(Headless::insert(Headless::modelSpace(site), Headless::makeBlock(site, u"TREE")));
    ASSERT_TRUE(Headless::attach(document, site, u"SITE"));
    ASSERT_TRUE(Headless::enhance(desk));
    ASSERT_TRUE(Headless::insert(space, Headless::represent(desk)));
    const KzDbObjectId edited = Headless::insert(space, door, {{u"TAG", u"1"}});
    const KzDbObjectId erased = makeBlock(u"*U");
    attach(door, 0);
    const auto edit = [&] { ASSERT_TRUE(Headless::setAttribute(edited, u"TAG", u"2")); };
    ASSERT_TRUE(Headless::erase(erased));
    kzdxUpdateBlockGraph(document, false, false);
    const std::vector<HostCall> calls = callsAfter(edit);
    expectCount(calls, HostCall::references, 2, "the door's record, and the tree's");
    expectCount(calls, HostCall::openObject, 5, "the table, these, the site's, the reference");
    expectCount(calls, HostCall::modelSpace, 1, "the site's");
}

TEST_F(BlockMonitor, EmptiedGraphIsBuiltAgain) {
    KzDxDocument& data = *KzDxApplication::instance()->docData(document, true);
    const KzDbObjectId reference = Headless::insert(space, door);
    attach(door, 0);
    ASSERT_TRUE(Headless::touch(reference));
    graph().setNeedsScan(false);
    graph().reset();
    EXPECT_FALSE(graph().hasChanges());
    EXPECT_TRUE(graph().needsScan());
    EXPECT_TRUE(graph().nodes().empty() && graph().blockMap().empty());
    EXPECT_EQ(graph().init(&data), Orvo::ok);
    graph().node(door)->addClient(TestClients::client(1));
    EXPECT_EQ(graph().init(&data), Orvo::ok);
    EXPECT_TRUE(graph().node(door)->clients().isEmpty()) << "its nodes are new";
    for (const auto create : {KzDxBlocks::create, KzDxBlocks::createEnabled}) {
        KzDxBlocks* made = &graph();
        EXPECT_EQ(create(made, nullptr), Orvo::missingCollaborator);
        EXPECT_EQ(made, nullptr);
    }
    EXPECT_EQ(PlainGraph(document).updateBoth(true, {}), "");
    attach(door, 0);
    EXPECT_THAT(callsAfterTouching(reference), IsEmpty())
        << "its timer is gone until it is switched on again";
    EXPECT_THAT(callsOfForcedUpdate(), ElementsAre(0));
}

} // namespace
