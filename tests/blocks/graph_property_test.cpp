// Guards the graph as a whole: whatever was edited, one update brings it to what a graph built afresh would
// be, and whatever was watched, nothing stays registered when nobody watches.

#include "blocks/block_graph.h"
#include "frame/application.h"
#include "tests/support/graph_checks.h"
#include "tests/support/module_test.h"
#include "tests/support/random_drawing.h"

#include <map>

namespace {

class GraphProperty : public ModuleTest {
protected:
    static KzDxDocument* recordOf(KzApDocument* document) {
        return KzDxApplication::instance()->docData(document, true);
    }
    /// Whether a graph built afresh would have a node for what this object belongs to, and look at the
    /// object. Not always so at a representation: its block may be erased, and enabling ends at the first
    /// record that is.
    static bool isSeenAfresh(KzDbObjectId object) {
        switch (Headless::kindOf(object)) {
        case Headless::Kind::record:
            return !object.isErased() && !isRepresentation(object);
        case Headless::Kind::reference:
            return isSeenAfresh(Headless::blockOf(object));
        default:
            return !object.isEffectivelyErased() && isSeenAfresh(Headless::ownerOf(object));
        }
    }
};

TEST_F(GraphProperty, OneUpdateEqualsAGraphBuiltAfresh) {
    for (unsigned seed = 0; seed < 150; ++seed) {
        RandomDrawing drawing(seed);
        ASSERT_EQ(watch(drawing.document, {Headless::modelSpace(drawing.document)}, TestClients::client(0)),
                  1);
        const KzDxBlocks& graph = *recordOf(drawing.document)->blocks();
        for (int round = 0; round < 3; ++round) {
            drawing.edit(25);
            kzdxUpdateBlockGraph(drawing.document, true, false); // some objects are held open at this time
            drawing.letGo();
            kzdxUpdateBlockGraph(drawing.document, true, round % 2 == 0);
            const OwnedGraph fresh = freshGraph(*recordOf(drawing.document));
            ASSERT_EQ(difference(graph, *fresh), "") << "seed " << seed << " round " << round;

            std::map<KzDbObjectId, std::size_t> registered;
            for (const KzDbObjectId object : drawing.objects())
                registered[object] = Headless::reactorCount(object);
            ASSERT_EQ(fresh->setEnabled(true), Orvo::ok);
            for (const auto& [object, count] : registered) {
                if (!isSeenAfresh(object)) continue;
                const std::size_t afresh = Headless::reactorCount(object) - count;
                ASSERT_LE(count, afresh) << "seed " << seed << " round " << round << " " << object.value();
                // Attributes that came after their reference are watched from the next beginning on.
                if (Headless::kindOf(object) == Headless::Kind::attribute) continue;
                ASSERT_EQ(count, afresh) << "seed " << seed << " round " << round << " " << object.value();
            }
        }
        kzdxBlockReferenceMonitorDetach(drawing.document, TestClients::client(0));
        ASSERT_EQ(Headless::reactorCountOf(drawing.document), 0U) << "seed " << seed;
        ASSERT_EQ(Headless::reactorCountOf(drawing.attached), 0U) << "seed " << seed;
        Headless::closeDocument(drawing.document);
        Headless::closeDocument(drawing.attached);
    }
}

// An update reads only what edits can have changed. It is right when reading everything finds nothing more.
TEST_F(GraphProperty, AFullReadingAfterAnUpdateFindsNothingMore) {
    int updates = 0;
    for (unsigned seed = 0; seed < 1500; ++seed) {
        RandomDrawing drawing(seed);
        ASSERT_EQ(watch(drawing.document, {Headless::modelSpace(drawing.document)}, TestClients::client(0)),
                  1);
        KzDxBlocks& graph = *recordOf(drawing.document)->blocks();
        for (unsigned round = 0; round <= seed % 5; ++round) {
            drawing.edit(1 + static_cast<int>(seed % 7));
            kzdxUpdateBlockGraph(drawing.document, seed % 11 == 0, round % 2 == 0);
        }
        // The last edits: every second time none that a record of the drawing tells of.
        if (seed % 4 < 2) drawing.edit(1 + static_cast<int>(seed % 3));
        for (unsigned quiet = 0; quiet < seed % 3; ++quiet) drawing.editQuietly();
        if (seed % 3 == 0) drawing.letGo();
        for (const KzDbObjectId object : drawing.objects()) {
            if (!graph.needsScan() && Headless::kindOf(object) == Headless::Kind::reference)
                Headless::touch(object); // what was edited may have told nobody here
        }
        if (graph.needsScan()) {
            ASSERT_TRUE(isUpdateComplete(graph, seed % 2 == 0, drawing.objects())) << "seed " << seed;
            ++updates;
        }
        drawing.letGo();
        Headless::closeDocument(drawing.document);
        Headless::closeDocument(drawing.attached);
    }
    EXPECT_GT(updates, 1400);
}

TEST_F(GraphProperty, NothingIsCalledWithoutAnEdit) {
    RandomDrawing drawing(7);
    ASSERT_EQ(watch(drawing.document, Headless::records(drawing.document), TestClients::client(0)), 1);
    for (int round = 0; round < 5; ++round) {
        kzdxUpdateBlockGraph(drawing.document, true, true);
        EXPECT_THAT(clients.takeCalls(), testing::IsEmpty());
        drawing.edit(10);
        drawing.letGo();
        kzdxUpdateBlockGraph(drawing.document, true, true);
        clients.takeCalls();
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
