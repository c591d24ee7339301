// Guards the graph as a whole: updates are exact, and nothing stays registered when no client is left.

#include "blocks/block_graph.h"
#include "frame/application.h"
#include "tests/support/graph_checks.h"
#include "tests/support/module_test.h"
#include "tests/support/random_drawing.h"

namespace {

class GraphProperty : public ModuleTest {};

// Whatever was edited, watched and held open: an update equals one that reads everything, in what is stored,
// which nodes have changed, what contains what and what is registered with; and nothing stays registered in
// the end.
TEST_F(GraphProperty, UpdatesEqualReadingEverything) {
    for (unsigned seed = 0; seed < 600; ++seed) {
        RandomDrawing drawing(seed);
        const std::vector<KzDbObjectId> watched{Headless::modelSpace(drawing.document)};
        ASSERT_EQ(watch(drawing.document, watched, TestClients::client(0)), 1);
        {
            PlainGraph plain(drawing.document);
            for (unsigned round = 0; round < 6; ++round) {
                const int edits = 1 + static_cast<int>((seed + round) % 7);
                if (round % 2 == 0) drawing.edit(edits);
                for (unsigned quiet = 0; quiet < seed % 3; ++quiet) drawing.editQuietly();
                if ((seed + round) % 3 == 0) drawing.letGo();
                if ((seed + round) % 5 == 0) {
                    kzdxBlockReferenceMonitorDetach(drawing.document, TestClients::client(0));
                    plain.followSwitch();
                    drawing.edit(edits);
                    ASSERT_EQ(watch(drawing.document, watched, TestClients::client(0)), 1);
                    plain.followSwitch();
                }
                ASSERT_EQ(plain.updateBoth(round == seed % 11, drawing.objects()), "")
                    << "seed " << seed << " round " << round;
            }
            drawing.letGo();
            ASSERT_EQ(plain.updateBoth(true, drawing.objects()), "") << "seed " << seed;
        }
        kzdxBlockReferenceMonitorDetach(drawing.document, TestClients::client(0));
        ASSERT_EQ(Headless::reactorCountOf(drawing.document), 0U) << "seed " << seed;
        ASSERT_EQ(Headless::reactorCountOf(drawing.attached), 0U) << "seed " << seed;
        Headless::closeDocument(drawing.document);
        Headless::closeDocument(drawing.attached);
    }
}

// What could not be left when the watching ended is watched like anything else when it begins again.
TEST_F(GraphProperty, WhatWasHeldWhenTheWatchingEndedIsWatchedAgain) {
    KzApDocument* const document = Headless::openDocument(u"document");
    const KzDbObjectId block = Headless::makeBlock(document, u"A");
    const KzDbObjectId inside = Headless::makeBlock(document, u"B");
    const KzDbObjectId reference = Headless::insert(Headless::modelSpace(document), block, {{u"TAG", u"1"}});
    const KzDbObjectId attribute = Headless::attributeOf(reference, u"TAG");
    for (const KzDbObjectId held : {block, reference, attribute}) {
        ASSERT_EQ(watch(document, {block}, TestClients::client(0)), 1);
        ASSERT_TRUE(Headless::holdOpen(held));
        kzdxBlockReferenceMonitorDetach(document, TestClients::client(0));
        ASSERT_EQ(watch(document, {block}, TestClients::client(0)), 1);
        ASSERT_TRUE(Headless::letGo(held));
        for (int round = 0; round < 2; ++round) {
            ASSERT_TRUE(Headless::touch(held == block ? reference : held));
            kzdxUpdateBlockGraph(document, false, true);
            EXPECT_THAT(clients.takeCalls(), testing::ElementsAre(0)) << held.value() << " round " << round;
        }
        EXPECT_EQ(Headless::reactorCount(held), 1U) << held.value();
        ASSERT_TRUE(Headless::holdOpen(held));
        kzdxBlockReferenceMonitorDetach(document, TestClients::client(0));
        kzdxUpdateBlockGraph(document, true, false);
        ASSERT_TRUE(Headless::letGo(held));
        kzdxUpdateBlockGraph(document, true, false);
        EXPECT_EQ(Headless::reactorCount(held), 0U) << "left by a reading while nobody watches";
        ASSERT_EQ(watch(document, {block}, TestClients::client(0)), 1);
        ASSERT_TRUE(Headless::insert(block, inside));
        kzdxUpdateBlockGraph(document, false, false);
        kzdxBlockReferenceMonitorDetach(document, TestClients::client(0));
        ASSERT_EQ(Headless::reactorCountOf(document), 0U);
    }
}

// The graph cannot leave its block table, nor its node the reference, and so both stay; but for nobody.
TEST_F(GraphProperty, UnloadedWhileItsOwnObjectsAreHeldOpenItIsDeaf) {
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
        ASSERT_TRUE(Headless::letGo(held));
        ASSERT_TRUE(Headless::touch(reference) || held == table);
    }
    load();
    EXPECT_EQ(Headless::reactorCountOf(document), 0U);
}

} // namespace
