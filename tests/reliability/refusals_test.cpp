// Guards the answer to each single refusal: which host calls an operation makes, and what it gives when the
// first, the second, … of them fails and all others succeed. The tables are complete: a kind of call that is
// not listed is not made.

#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/update_check.h"
#include "frame/application.h"
#include "tests/support/module_test.h"

#include <map>

using namespace Headless;

namespace {

/// What an operation gave, for each kind of call in the order of the calls that failed; equal results that
/// follow each other stand there once.
template <class Result>
using ResultsOf = std::map<HostCall, std::vector<Result>>;
using Results = ResultsOf<int>;

/// What a scan finds of the drawing that `makeDoors` makes.
struct Scan {
    std::size_t records = 0;    ///< keys of the graph
    std::size_t references = 0; ///< filed for the block
    friend bool operator==(const Scan&, const Scan&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Scan& scan) {
        return out << scan.records << " records, " << scan.references << " references";
    }
};
constexpr Scan foundAll{.records = 4, .references = 2}; // two layouts, the block, its representation
constexpr Scan foundNothing;
constexpr Scan noGraph{.records = SIZE_MAX, .references = 0};

class Refusals : public ModuleTest {
protected:
    /// A document with an enhanced block that has one representation. Model space holds a reference of each
    /// of the two, one with an attribute.
    static KzApDocument* makeDoors() {
        KzApDocument* const document = openDocument(u"doors");
        const KzDbObjectId door = makeBlock(document, u"Door");
        enhance(door);
        insert(modelSpace(document), door, {{u"TAG", u"1"}});
        insert(modelSpace(document), represent(door));
        return document;
    }
    /// One with two table blocks, which have two references and one.
    static KzApDocument* makeTables() {
        KzApDocument* const document = openDocument(u"tables");
        const KzDbObjectId first = makeBlock(document, u"*T1");
        insert(modelSpace(document), first);
        insert(modelSpace(document), first);
        insert(modelSpace(document), makeBlock(document, u"*T2"));
        return document;
    }

    /// Lets each call that `operation(document)` makes fail in turn, each time in a document made by `make`.
    template <class Make, class Operation>
    static auto resultsOf(Make make, Operation operation) {
        ResultsOf<decltype(operation(nullptr))> results;
        for (std::size_t at = 0; at < hostCallKinds; ++at) {
            const auto kind = static_cast<HostCall>(at);
            bool hasFailed = true;
            for (std::size_t number = 1; hasFailed; ++number) {
                KzApDocument* const document = make();
                const KzDxUpdateCheck::Pause pause;
                failHostCall(kind, number, FaultSpan::once);
                const auto result = operation(document);
                hasFailed = endFaults() != 0;
                EXPECT_EQ(openCountOf(document), 0U);
                closeDocument(document);
                if (!hasFailed) break;
                if (results[kind].empty() || results[kind].back() != result) results[kind].push_back(result);
            }
        }
        return results;
    }

    static int attachTimer(KzApDocument* document) {
        return kzdxDocTimerAttach(document, TestClients::client(0), 0, 1);
    }
};

// A graph that cannot be switched on before it is built is switched on after that.
TEST_F(Refusals, WatchingNeedsTheDrawingItsTableAndModelSpace) {
    const auto watchAll = [](KzApDocument* document) {
        return watch(document, records(document), TestClients::client(0));
    };
    EXPECT_EQ(resultsOf(makeDoors, watchAll), (Results{
                                                  {HostCall::manager, {1}}, // is the document open?
                                                  {HostCall::currentDocument, {1}},
                                                  {HostCall::openObject, {0, 1}},
                                                  {HostCall::recordByName, {0}},
                                                  {HostCall::drawing, {0, 1}},
                                                  {HostCall::tableIterator, {1}},
                                                  {HostCall::recordId, {1}},
                                                  {HostCall::references, {1}},
                                                  {HostCall::erasedReferences, {1}},
                                                  {HostCall::attributeIterator, {1}},
                                                  {HostCall::evaluationGraph, {1}},
                                                  {HostCall::protocol, {1}},
                                                  {HostCall::representations, {1}},
                                                  {HostCall::originalBlock, {1}},
                                                  {HostCall::addFilter, {1}},
                                              }));
}

TEST_F(Refusals, AScanPassesOverWhatItCannotRead) {
    const auto scan = [](KzApDocument* document) {
        if (kzdxUpdateBlockGraph(document, false, false) == 0) return noGraph;
        const KzDxBlocks& graph = *KzDxApplication::instance()->docData(document, false)->blocks();
        Scan found{.records = graph.blockMap().size(), .references = 0};
        if (const KzDxBlock* const door = graph.node(find(document, u"Door")); door != nullptr) {
            for (const KzDxContainers::Entry& entry : door->containers()) found.references += entry.count;
        }
        return found;
    };
    constexpr Scan withoutALayout{.records = 3, .references = 2};
    constexpr Scan withoutTheBlock{.records = 3, .references = 0};
    constexpr Scan withoutAReference{.records = 4, .references = 1};
    constexpr Scan withoutReferences{.records = 4, .references = 0};
    EXPECT_EQ(
        resultsOf(makeDoors, scan),
        (ResultsOf<Scan>{
            {HostCall::manager, {foundAll}},
            {HostCall::currentDocument, {foundAll}},
            // the table, and once more; layouts; the block with its representation; references; the
            // representation as a record of the table
            {HostCall::openObject,
             {noGraph, foundNothing, withoutALayout, withoutTheBlock, foundAll, withoutReferences,
              withoutAReference}},
            {HostCall::recordByName, {noGraph}},
            {HostCall::tableIterator, {foundNothing}},
            {HostCall::recordId, {withoutALayout, withoutTheBlock, foundAll}},
            {HostCall::references, {withoutALayout, withoutTheBlock, foundAll, withoutReferences}},
            {HostCall::erasedReferences, {withoutALayout, withoutTheBlock, foundAll, withoutReferences}},
            {HostCall::drawing, {noGraph, foundNothing}},
            // The block and its representation find each other from either side.
            {HostCall::evaluationGraph, {foundAll}},
            {HostCall::protocol, {foundAll}},
            {HostCall::representations, {foundAll}},
            {HostCall::originalBlock, {foundAll}},
        }));
}

// -1: refused; otherwise how many ids were appended.
TEST_F(Refusals, QueriesGiveWhatCouldBeRead) {
    const auto count = [](auto query) {
        return [query](KzApDocument* document) {
            KzDbObjectIdArray ids;
            return query(document, &ids) == 1 ? ids.length() : -1;
        };
    };
    EXPECT_EQ(resultsOf(makeTables, count(kzdxGetBlockRecordIdsOfKzDbTables)),
              (Results{
                  {HostCall::manager, {2}},
                  {HostCall::currentDocument, {2}},
                  {HostCall::openObject, {0, 2, 1}}, // table, layouts, table blocks
                  {HostCall::tableIterator, {0}},
                  {HostCall::recordId, {2, 1}},
                  {HostCall::recordName, {1}},
                  {HostCall::drawing, {-1}},
              }));
    EXPECT_EQ(resultsOf(makeTables, count(kzdxGetKzDbTableIds)),
              (Results{
                  {HostCall::manager, {3}},
                  {HostCall::currentDocument, {3}},
                  {HostCall::openObject, {0, 3, 1, 2, 1, 2}}, // the table blocks a second time
                  {HostCall::tableIterator, {0}},
                  {HostCall::recordId, {3, 1, 2}},
                  {HostCall::recordName, {1, 2}},
                  {HostCall::references, {1, 2}},
                  {HostCall::drawing, {-1}},
              }));
}

// Without a record, one is made, which needs a drawing; a document manager it can do without.
TEST_F(Refusals, ATimerThatGetsNoFilterWaitsForOne) {
    const auto makeUnknown = [] {
        KzApDocument* const document = makeDoors();
        KzDxApplication::instance()->removeDocData(document);
        return document;
    };
    EXPECT_EQ(resultsOf(makeDoors, attachTimer), (Results{
                                                     {HostCall::manager, {1}},
                                                     {HostCall::currentDocument, {1}},
                                                     {HostCall::addFilter, {1}},
                                                 }));
    EXPECT_EQ(resultsOf(makeUnknown, attachTimer), (Results{
                                                       {HostCall::manager, {1}},
                                                       {HostCall::currentDocument, {1}},
                                                       {HostCall::documentIterator, {1}},
                                                       {HostCall::drawing, {0}},
                                                       {HostCall::addFilter, {1}},
                                                   }));
}

// How many callbacks one idle check calls. The next one calls them in any case.
TEST_F(Refusals, AnIdleCheckThatIsRefusedAnythingCallsNobody) {
    const auto makeTimed = [] {
        KzApDocument* const document = makeDoors();
        attachTimer(document);
        return document;
    };
    const auto check = [this](KzApDocument*) {
        idle();
        endFaults();
        const auto called = static_cast<int>(clients.takeCalls().size());
        idle();
        EXPECT_THAT(clients.takeCalls(), testing::ElementsAre(0));
        return called;
    };
    EXPECT_EQ(resultsOf(makeTimed, check), (Results{
                                               {HostCall::manager, {0}},
                                               {HostCall::currentDocument, {0}},
                                               {HostCall::mainWindow, {0}},
                                               {HostCall::postMessage, {0}},
                                           }));
}

TEST_F(Refusals, LoadingNeedsTheResourceLibraryAlone) {
    const auto makeUnloaded = [] {
        unload();
        return makeDoors();
    };
    EXPECT_EQ(resultsOf(makeUnloaded, [](KzApDocument*) { return load(); }),
              (Results{
                  {HostCall::loadLibrary, {KzRx::loadFailed}},
                  {HostCall::registerService, {KzRx::done}},
                  {HostCall::declareMdiAware, {KzRx::done}},
                  {HostCall::manager, {KzRx::done}},
                  {HostCall::documentIterator, {KzRx::done}},
                  {HostCall::drawing, {KzRx::done}},
              }));
    EXPECT_EQ(shownBoxes().size(), 1U);
}

// How much of the module an unloading leaves in the host.
TEST_F(Refusals, UnloadingLeavesAServiceThatTheHostDoesNotGiveBack) {
    const auto makeLoaded = [] {
        unload();
        load();
        KzApDocument* const document = makeDoors();
        attachTimer(document);
        return document;
    };
    const auto left = [](KzApDocument*) {
        EXPECT_EQ(unload(), KzRx::done);
        return static_cast<int>(services().size() + filterCount() + managerReactorCount());
    };
    EXPECT_EQ(resultsOf(makeLoaded, left), (Results{
                                               {HostCall::registry, {1}},
                                               {HostCall::dictionaryEntry, {1}},
                                               {HostCall::takeEntry, {1}},
                                               {HostCall::manager, {0}}, // tried again at once
                                               {HostCall::documentIterator, {0}},
                                               {HostCall::removeFilter, {0}}, // tried again at once
                                           }));
}

} // namespace
