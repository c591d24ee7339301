// Guards counting and nesting: worked examples for the counts, and for nesting the definition itself,
// followed literally over random graphs.

#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/update_check.h"
#include "tests/support/graph_checks.h"
#include "tests/support/module_test.h"
#include "tests/support/random_drawing.h"

#include <set>

namespace {

using IdSet = std::set<KzDbObjectId>;

class GraphQueries : public ModuleTest {
protected:
    static void place(KzDbObjectId block, KzDbObjectId container, int times) {
        while (times-- > 0) ASSERT_TRUE(Headless::insert(container, block));
    }

    /// The definition of nesting: every node is asked for every container.
    static void collect(const KzDxBlocks& graph, KzDbObjectId block, bool recursive, IdSet& found,
                        IdSet& visited) {
        if (!visited.insert(block).second) return;
        for (const auto& [key, node] : graph.blockMap()) {
            if (node->id() == block || node->containers().find(block) == nullptr) continue;
            found.insert(node->id());
            if (recursive) collect(graph, node->id(), true, found, visited);
        }
    }
};

TEST_F(GraphQueries, CountsDirectlyAndOneLevelDeep) {
    KzApDocument* const document = Headless::openDocument(u"document");
    const KzDbObjectId space = Headless::modelSpace(document);
    const KzDbObjectId paper = Headless::find(document, u"*Paper_Space");
    const KzDbObjectId x = Headless::makeBlock(document, u"X");
    const KzDbObjectId b = Headless::makeBlock(document, u"B");
    const KzDbObjectId q = Headless::makeBlock(document, u"Q");
    const KzDbObjectId y = Headless::makeBlock(document, u"Y");
    place(x, space, 1);
    place(x, b, 2);
    place(b, space, 3);
    place(b, paper, 1);
    place(q, b, 1);
    place(y, q, 1);
    KzDxBlocks& graph = graphOf(document);
    EXPECT_EQ(graph.countReferencesIn(x, space, false), 1U);
    EXPECT_EQ(graph.countReferencesInLayouts(x, true, false), 1U);
    EXPECT_EQ(graph.countReferencesInLayouts(x, true, true), 7U);
    EXPECT_EQ(graph.countReferencesInLayouts(x, false, true), 9U);
    EXPECT_EQ(graph.countReferencesIn(x, b, true), 2U);
    EXPECT_EQ(graph.countReferencesInLayouts(y, true, true), 0U) << "two levels down is not counted";
    EXPECT_EQ(graph.countReferencesIn(KzDbObjectId(123456), space, true), 0U);
    EXPECT_EQ(graph.countReferencesIn(x, KzDbObjectId(123456), true), 0U);
    KzDxIdSet counted;
    EXPECT_EQ(graph.countReferences(x, space, false, counted), 1U);
    EXPECT_EQ(graph.countReferences(x, space, true, counted), 7U) << "direct counting notes nothing";
    EXPECT_EQ(graph.countReferences(x, space, true, counted), 0U) << "counted already";
    EXPECT_EQ(graph.countReferences(x, space, false, counted), 1U) << "direct counting does not ask";

    ASSERT_TRUE(Headless::holdOpen(space)); // so that paper space is the only layout of the next reading
    graph.update(true, false);
    EXPECT_EQ(graph.countReferencesInLayouts(b, true, false), 3U);
    EXPECT_EQ(graph.countReferencesInLayouts(b, false, false), 1U);
    ASSERT_TRUE(Headless::releaseHold(space));

    place(b, space, 297);
    place(x, b, 298);
    graph.update(true, false);
    EXPECT_EQ(graph.countReferencesIn(x, space, true), 1U + 300U * 300U);
    ASSERT_TRUE(Headless::erase(b));
    graph.update(true, false);
    EXPECT_EQ(graph.countReferencesIn(x, space, true), 1U) << "references in an erased block do not count";
}

// References in an attached drawing count through the record that stands for it, and only so.
TEST_F(GraphQueries, CountsThroughAttachedDrawing) {
    KzApDocument* const site = Headless::openDocument(u"site");
    const KzDbObjectId tree = Headless::makeBlock(site, u"TREE");
    const KzDbObjectId garden = Headless::makeBlock(site, u"GARDEN");
    place(tree, Headless::modelSpace(site), 2);
    place(tree, garden, 1);
    KzApDocument* const plan = Headless::openDocument(u"plan");
    const KzDbObjectId space = Headless::modelSpace(plan);
    const KzDbObjectId first = Headless::attach(plan, site, u"FIRST");
    const KzDbObjectId second = Headless::attach(plan, site, u"SECOND");
    place(first, space, 3);
    const KzDbObjectId treeHere = Headless::find(plan, u"FIRST|TREE");
    KzDxBlocks& graph = graphOf(plan);
    EXPECT_EQ(graph.xrefBlockOf(tree), first);
    EXPECT_EQ(graph.xrefBlockOf(first), KzDbObjectId());
    EXPECT_EQ(graph.countReferencesIn(treeHere, first, false), 2U);
    EXPECT_EQ(graph.countReferencesIn(treeHere, space, true), 6U);
    ASSERT_NE(graph.node(treeHere)->containers().find(garden), nullptr);
    EXPECT_EQ(graph.countReferencesIn(treeHere, garden, false), 0U) << "no block of this drawing";

    // Filed while the host does not tell which record its model space is.
    const KzDxUpdateCheck::Pause pause;
    Headless::failHostCall(Headless::HostCall::modelSpace, 1, Headless::FaultSpan::fromThenOn);
    graph.update(true, false);
    EXPECT_GT(Headless::endFaults(), 0U);
    EXPECT_EQ(graph.countReferencesIn(treeHere, first, false), 0U);
    EXPECT_EQ(graph.countReferencesIn(treeHere, space, true), 6U);

    // Each scan asks again which record stands for a drawing.
    KzDxBlock& node = *graph.node(treeHere);
    EXPECT_EQ(node.refresh(), Orvo::ok);
    EXPECT_EQ(graph.countReferencesIn(treeHere, first, false), 2U);
    ASSERT_TRUE(Headless::erase(first));
    EXPECT_EQ(node.refresh(), Orvo::ok);
    EXPECT_EQ(graph.countReferencesIn(treeHere, first, false), 0U);
    EXPECT_EQ(graph.countReferencesIn(treeHere, second, false), 2U);
}

// An enhanced block before, between and behind its representations in the table.
TEST_F(GraphQueries, EnhancedBlockFoundUnderItsRepresentations) {
    KzApDocument* const document = Headless::openDocument(u"document");
    const KzDbObjectId space = Headless::modelSpace(document);
    const KzDbObjectId early = Headless::makeBlock(document, u"*Early");
    const KzDbObjectId enhanced = Headless::makeBlock(document, u"D");
    ASSERT_TRUE(Headless::enhance(enhanced));
    ASSERT_TRUE(Headless::represent(enhanced, early));
    const KzDbObjectId late = Headless::represent(enhanced);
    for (const KzDbObjectId block : {early, enhanced, late}) place(block, space, 2);
    KzDxBlocks& graph = graphOf(document);
    const auto recordsOf = [&](KzDbObjectId id) {
        const KzDbObjectIdArray& records = graph.node(id)->recordIds();
        return std::vector<KzDbObjectId>(records.begin(), records.end());
    };
    EXPECT_THAT(recordsOf(enhanced), testing::ElementsAre(enhanced, early, late));
    EXPECT_EQ(graph.node(late), graph.node(enhanced));
    EXPECT_THAT(recordsOf(early), testing::ElementsAre(early)) << "came first, and keeps its node";
    EXPECT_EQ(graph.countReferencesIn(enhanced, space, false), 6U);
    EXPECT_EQ(graph.countReferencesIn(early, space, false), 2U);

    const KzDbObjectId later = Headless::represent(enhanced);
    place(later, space, 1);
    place(early, space, 1);
    graph.update(true, false);
    EXPECT_EQ(graph.node(later), graph.node(enhanced));
    EXPECT_EQ(graph.countReferencesIn(later, space, false), 8U);
    EXPECT_EQ(graph.countReferencesIn(early, space, false), 2U) << "no longer read through its own node";
}

TEST_F(GraphQueries, NestingFollowsItsDefinition) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        RandomDrawing drawing(seed);
        KzDxBlocks& graph = graphOf(drawing.document);
        const IdSet visitedBefore{Headless::records(drawing.document)[4], KzDbObjectId(987654321)};
        for (const auto& [block, node] : graph.blockMap()) {
            for (const bool recursive : {false, true}) {
                IdSet expected;
                IdSet expectedVisited = visitedBefore;
                collect(graph, block, recursive, expected, expectedVisited);
                KzDxIdSet found;
                KzDxIdSet visited;
                for (const KzDbObjectId id : visitedBefore) visited.insert(id);
                graph.collectNestedBlocks(block, recursive, found, visited);
                ASSERT_EQ(namesOf(found), namesOf(expected)) << "in " << nameOf(block) << ", seed " << seed;
                ASSERT_EQ(namesOf(visited), namesOf(expectedVisited)) << "seed " << seed;
            }
        }
    }
}

} // namespace
