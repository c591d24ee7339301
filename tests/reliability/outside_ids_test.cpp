// Guards the exports against invalid ids and documents: null, stale, made up, of another drawing or of
// another kind. Such ids are ignored, such documents refused, without an effect on the rest.

#include "tests/support/figures.h"
#include "tests/support/graph_checks.h"
#include "tests/support/module_test.h"

#include <bit>
#include <limits>
#include <random>

using namespace Headless;

namespace {

class OutsideIds : public ModuleTest {
protected:
    OutsideIds() {
        for (const KzDbObjectId block : blocks) insert(modelSpace(document), block, {{u"TAG", u"1"}});
        const KzDbObjectId reference = insert(modelSpace(document), blocks[0], {{u"TAG", u"1"}});
        const KzDbObjectId gone = insert(modelSpace(document), blocks[0]);
        static_cast<void>(goodbye(gone));
        KzApDocument* const closed = openDocument(u"closed");
        invalid = {KzDbObjectId(),
                   gone,
                   reference,
                   attributeOf(reference, u"TAG"),
                   ownerOf(blocks[0]), // the block table
                   makeBlock(other, u"A"),
                   modelSpace(other),
                   ownerOf(modelSpace(other)),
                   makeBlock(closed, u"A"),
                   modelSpace(closed),
                   KzDbObjectId(modelSpace(closed).value() + 1000), // no object has it yet
                   KzDbObjectId(std::numeric_limits<std::uint64_t>::max()),
                   KzDbObjectId(std::uint64_t{1} << 63)};
        closeDocument(closed);
        makeCurrent(document);
    }

    /// The callbacks of an update after an edit of each block in turn.
    std::vector<std::vector<int>> callsAfterEdits() {
        std::vector<std::vector<int>> calls;
        for (const KzDbObjectId block : blocks) {
            EXPECT_TRUE(touch(references(block).front()));
            EXPECT_EQ(kzdxUpdateBlockGraph(document, false, true), 1);
            calls.push_back(clients.takeCalls());
        }
        return calls;
    }

    KzApDocument* const other = openDocument(u"other");
    KzApDocument* const document = openDocument(u"document");
    const std::vector<KzDbObjectId> blocks{makeBlock(document, u"A"), makeBlock(document, u"B"),
                                           makeBlock(document, u"C")};
    std::vector<KzDbObjectId> invalid;
};

TEST_F(OutsideIds, InvalidIdsAmongOthersAreIgnored) {
    std::mt19937 random(1);
    const auto below = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    std::size_t passed = 0;
    for (int round = 0; round < 200; ++round) {
        std::vector<std::vector<int>> expected(blocks.size());
        for (int number = 0; number < 3; ++number) {
            std::vector<KzDbObjectId> ids;
            for (std::size_t count = 1 + below(12); count != 0; --count) {
                const bool isBlock = below(4) == 0;
                const std::size_t at = below(isBlock ? blocks.size() : invalid.size());
                ids.push_back(isBlock ? blocks[at] : invalid[at]);
                if (!isBlock) ++passed;
                if (isBlock && (expected[at].empty() || expected[at].back() != number)) {
                    expected[at].push_back(number);
                }
            }
            ASSERT_EQ(watch(document, ids, TestClients::client(static_cast<std::size_t>(number))), 1);
        }
        ASSERT_EQ(callsAfterEdits(), expected) << "round " << round;
        EXPECT_EQ(reactorCountOf(other), 0U);
        for (std::size_t number = 0; number < 3; ++number) {
            kzdxBlockReferenceMonitorDetach(document, TestClients::client(number));
        }
        ASSERT_EQ(reactorCountOf(document), 0U);
    }
    printFigure("ids from outside that were ignored", passed);
}

TEST_F(OutsideIds, GraphHasNoNodesForThem) {
    ASSERT_EQ(watch(document, invalid, TestClients::client(0)), 1);
    KzDxBlocks& asked = graphOf(document);
    for (const KzDbObjectId id : invalid) {
        EXPECT_EQ(asked.node(id), nullptr) << id.value();
        EXPECT_EQ(asked.countReferencesIn(id, modelSpace(document), true), 0U);
        EXPECT_EQ(asked.countReferencesIn(blocks[0], id, true), 0U);
        KzDxIdSet found;
        EXPECT_EQ(asked.getNestedBlocks(id, true, found), Orvo::ok);
        EXPECT_EQ(found.size(), 0U);
        EXPECT_TRUE(asked.xrefBlockOf(id).isNull());
    }
}

/// What all exports give for one document: three results, and the ids of two queries.
std::vector<int> allExports(KzApDocument* document, KzDbObjectId block) {
    KzDbObjectIdArray blocks;
    blocks.append(block);
    KzDbObjectIdArray found;
    std::vector<int> results{kzdxBlockReferenceMonitorAttach(document, &blocks, TestClients::client(0)),
                             kzdxDocTimerAttach(document, TestClients::client(0), 0, 1),
                             kzdxDocTimerAttach(document, TestClients::client(0), 0, 0),
                             kzdxUpdateBlockGraph(document, true, true),
                             kzdxGetBlockRecordIdsOfKzDbTables(document, &found),
                             kzdxGetKzDbTableIds(document, &found)};
    kzdxBlockReferenceMonitorDetach(document, TestClients::client(0));
    EXPECT_TRUE(found.isEmpty());
    return results;
}

TEST_F(OutsideIds, DocumentsNotOpenAreRefused) {
    KzApDocument* const closed = openDocument(u"closed");
    EXPECT_EQ(allExports(closed, modelSpace(closed)), std::vector<int>(6, 1));
    closeDocument(closed);
    KzApDocument* const empty = openDocument(u"empty", false);
    char place = 0;
    for (KzApDocument* const each :
         {static_cast<KzApDocument*>(nullptr), closed, empty, std::bit_cast<KzApDocument*>(&place),
          std::bit_cast<KzApDocument*>(~std::uintptr_t{0})}) {
        EXPECT_EQ(allExports(each, blocks[0]), std::vector<int>(6, 0));
        reportLockMode(each, u"#idle");
    }
    EXPECT_EQ(allExports(document, blocks[0]), std::vector<int>(6, 1));
}

} // namespace
