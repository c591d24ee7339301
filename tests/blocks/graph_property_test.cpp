// Guards the graph as a whole: updates are exact, call the right clients, and nothing stays registered.

#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "frame/application.h"
#include "tests/support/graph_checks.h"
#include "tests/support/module_test.h"
#include "tests/support/random_drawing.h"

#include <optional>

namespace {

class GraphProperty : public ModuleTest {
protected:
    /// Attaches each client to a block of its own.
    void watchAll(KzApDocument* document) {
        const std::vector<KzDbObjectId> records = Headless::records(document);
        for (std::size_t number = 0; number < TestClients::count; ++number) {
            const KzDbObjectId record = records[number * records.size() / TestClients::count];
            ASSERT_EQ(watch(document, {record}, TestClients::client(number)), 1);
            const KzDxBlock* const node = graphOf(document).node(record); // none if the record was unreadable
            watched.at(number) = node == nullptr ? KzDbObjectId() : node->id();
        }
    }
    static void unwatchAll(KzApDocument* document) {
        for (std::size_t number = 0; number < TestClients::count; ++number) {
            kzdxBlockReferenceMonitorDetach(document, TestClients::client(number));
        }
    }
    /// The clients to be called if the other graph is right.
    [[nodiscard]] std::vector<int> dueClients(const PlainGraph& plain) const {
        std::vector<int> due;
        for (std::size_t number = 0; number < watched.size(); ++number) {
            if (plain.hasChanged(watched.at(number))) due.push_back(static_cast<int>(number));
        }
        return due;
    }

    std::array<KzDbObjectId, TestClients::count> watched; ///< the node of each client
};

// Whatever was edited, watched and held open: an update equals one that reads everything, in what is stored,
// which nodes have changed, what contains what, what is registered with and which clients are called; and
// nothing stays registered in the end.
TEST_F(GraphProperty, UpdatesEqualReadingEverything) {
    for (unsigned seed = 0; seed < 600; ++seed) {
        RandomDrawing drawing(seed);
        watchAll(drawing.document);
        {
            PlainGraph plain(drawing.document);
            for (unsigned round = 0; round < 6; ++round) {
                const int edits = 1 + static_cast<int>((seed + round) % 7);
                if (round % 2 == 0) drawing.edit(edits);
                for (unsigned quiet = 0; quiet < seed % 3; ++quiet) drawing.editQuietly();
                if ((seed + round) % 3 == 0) drawing.releaseHold();
                if ((seed + round) % 5 == 0) {
                    unwatchAll(drawing.document);
                    plain.followSwitch();
                    drawing.edit(edits);
                    watchAll(drawing.document);
                    plain.followSwitch();
                }
                ASSERT_EQ(plain.updateBoth(round == seed % 11, drawing.objects()), "")
                    << "seed " << seed << " round " << round;
                ASSERT_EQ(clients.takeCalls(), dueClients(plain)) << "seed " << seed << " round " << round;
            }
            drawing.releaseHold();
            ASSERT_EQ(plain.updateBoth(true, drawing.objects()), "") << "seed " << seed;
            clients.takeCalls();
        }
        unwatchAll(drawing.document);
        ASSERT_EQ(Headless::reactorCountOf(drawing.document), 0U) << "seed " << seed;
        ASSERT_EQ(Headless::reactorCountOf(drawing.attached), 0U) << "seed " << seed;
        Headless::closeDocument(drawing.document);
        Headless::closeDocument(drawing.attached);
    }
}

// What only callers by slot do: a graph or a single node is switched, or a node reads a further record.
TEST_F(GraphProperty, UpdatesAfterCallsBySlot) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        RandomDrawing drawing(seed);
        watchAll(drawing.document);
        std::optional<PlainGraph> plain(drawing.document);
        const std::vector<KzDbObjectId> records = Headless::records(drawing.document);
        for (unsigned round = 0; round < 6; ++round) {
            const KzDbObjectId chosen = records[(seed + round) % records.size()];
            const KzDbObjectId further = records[(seed / 7 + 3 * round) % records.size()];
            const unsigned kind = (seed + round) % 4;
            plain->withBoth([&](KzDxBlocks& graph) {
                KzDxBlock* const node = graph.node(chosen);
                if (kind == 0) static_cast<void>(graph.setEnabled(!graph.isEnabled()));
                if (kind == 1 && node != nullptr) static_cast<void>(node->setEnabled(!node->isEnabled()));
                if (kind == 2 && node != nullptr) static_cast<void>(node->evaluate(further));
            });
            drawing.edit(1 + static_cast<int>(seed % 3));
            if (seed % 2 == 0) drawing.editQuietly();
            if (kind == 0)
                plain->withBoth([](KzDxBlocks& graph) { static_cast<void>(graph.setEnabled(true)); });
            ASSERT_EQ(plain->updateBoth(false, {}), "") << "seed " << seed << " round " << round;
        }
        unwatchAll(drawing.document);
        plain.reset();
        drawing.releaseHold();
        Headless::closeDocument(drawing.document);
        Headless::closeDocument(drawing.attached);
    }
    clients.takeCalls();
}

// The graph cannot unregister from its block table, nor its node from the reference, and so both stay.
TEST_F(GraphProperty, IgnoresNotificationsAfterUnloadWithObjectsOpen) {
    KzApDocument* const document = Headless::openDocument(u"document");
    const KzDbObjectId block = Headless::makeBlock(document, u"A");
    const KzDbObjectId table = Headless::ownerOf(block);
    const KzDbObjectId reference = Headless::insert(Headless::modelSpace(document), block, {{u"TAG", u"1"}});
    for (const std::size_t client : {0U, 1U})
        ASSERT_EQ(watch(document, {block}, TestClients::client(client)), 1);
    ASSERT_TRUE(Headless::touch(reference));
    clients.onCall[0] = [&] {
        ASSERT_TRUE(Headless::holdOpen(table));
        ASSERT_TRUE(Headless::holdOpen(reference));
        unload();
    };
    kzdxUpdateBlockGraph(document, true, true);
    EXPECT_THAT(clients.takeCalls(), testing::ElementsAre(0));
    EXPECT_EQ(Headless::reactorCount(Headless::attributeOf(reference, u"TAG")), 0U) << "it is not held";
    for (const KzDbObjectId held : {table, reference}) {
        EXPECT_EQ(Headless::reactorCount(held), 1U);
        ASSERT_TRUE(Headless::releaseHold(held));
        ASSERT_TRUE(Headless::touch(reference) || held == table);
    }
    load();
    EXPECT_EQ(Headless::reactorCountOf(document), 0U);
}

} // namespace
