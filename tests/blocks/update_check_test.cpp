// Guards the self-check of updates: each kind of difference ends the program with a message.

#include "blocks/block_node.h"
#include "blocks/update_check.h"
#include "tests/support/graph_checks.h"
#include "tests/support/module_test.h"

#if defined(ZELVANE_CHECK_UPDATES) && GTEST_HAS_DEATH_TEST

namespace {

using UpdateCheck = ModuleTest;

TEST_F(UpdateCheck, ReportsDifferences) {
    KzApDocument* const document = Headless::openDocument(u"house");
    const KzDbObjectId space = Headless::modelSpace(document);
    const KzDbObjectId layout = Headless::find(document, u"*Paper_Space");
    const KzDbObjectId door = Headless::makeBlock(document, u"DOOR");
    const KzDbObjectId desk = Headless::makeBlock(document, u"DESK");
    const KzDbObjectId lost = Headless::makeBlock(document, u"LOST");
    const KzDbObjectId reference = Headless::insert(space, desk);
    ASSERT_TRUE(Headless::insert(desk, lost));
    ASSERT_TRUE(Headless::enhance(desk));
    KzDxBlocks& graph = graphOf(document);
    ASSERT_TRUE(Headless::erase(lost));
    graph.update(true, false);
    const auto expect = [&](const char* message, auto edit) {
        const auto compare = [&] {
            KzDxUpdateCheck check(graph);
            edit(*graph.node(door));
            check.compare();
        };
        EXPECT_DEATH(compare(), message);
    };
    KzDxUpdateCheck(graph).compare();
    expect("the graph needs a scan after a scan", [&](KzDxBlock&) { graph.setNeedsScan(true); });
    expect("\"DOOR\" needs a scan after a scan", [&](KzDxBlock& node) {
        node.setNeedsScan(true);
        graph.updateState().clear();
        graph.setNeedsScan(false);
    });
    expect("\"LAST\" has no node", [&](KzDxBlock&) {
        const KzDbObjectId last = Headless::makeBlock(document, u"LAST");
        Headless::enhance(last);
        Headless::erase(Headless::represent(last));
    });
    expect("the graph has other layouts", [&](KzDxBlock&) { Headless::erase(layout); });
    expect("\"DOOR\" has stored nothing but the drawing has .* in .* \"DESK\"",
           [&](KzDxBlock&) { Headless::insert(desk, door); });
    expect("\"DOOR\" is marked as changed; before: nothing now: nothing",
           [](KzDxBlock& node) { node.setHasChanges(true); });
    expect("\"DOOR\" is not marked as changed; before: nothing now: .* in .* \"\\*Model_Space\"",
           [&](KzDxBlock& node) {
               Headless::insert(space, door);
               static_cast<void>(node.refresh());
               graph.setHasChanges(false);
               graph.setNeedsScan(false);
           });
    expect("\"LOST\" was read although no record leads to it", [&](KzDxBlock&) {
        Headless::erase(Headless::references(lost).front());
        static_cast<void>(graph.node(lost)->refresh());
    });
    expect("failed: [0-9]+ is the key of a node that does not list it",
           [&](KzDxBlock& node) { graph.addBlockAlias(reference, &node); });
    expect("is not listed by the node that it leads to",
           [&](KzDxBlock&) { Headless::insert(space, Headless::represent(desk)); });
    expect("contains other blocks than the nodes report", [&](KzDxBlock&) {
        graph.nesting().invalidate();
        graph.nesting().prepare({});
    });
}

} // namespace

#endif
