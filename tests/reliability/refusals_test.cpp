// Guards the result of each single failure: which host calls an operation makes, and what it gives when one
// fails and all others succeed. The tables are complete: a kind of call that is not listed is not made.

#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/update_check.h"
#include "frame/application.h"
#include "tests/support/host_call_names.h"
#include "tests/support/module_test.h"

#include <map>
#include <sstream>

using namespace Headless;

namespace {

/// The kinds of calls, by what an operation gives when the first, the second, … call of the kind fails; equal
/// results that follow each other are listed once.
using Results = std::map<std::string, std::string>;

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
    static Results resultsOf(Make make, Operation operation) {
        Results results;
        for (std::size_t at = 0; at < hostCallKinds; ++at) {
            const auto kind = static_cast<HostCall>(at);
            std::string before, all;
            for (std::size_t number = 1;; ++number) {
                KzApDocument* const document = make();
                const KzDxUpdateCheck::Pause pause;
                failHostCall(kind, number, FaultSpan::once);
                std::ostringstream result;
                result << operation(document);
                const bool hasFailed = endFaults() != 0;
                EXPECT_EQ(openCountOf(document), 0U);
                closeDocument(document);
                if (!hasFailed) break;
                if (result.str() != before) all += (number == 1 ? "" : ", ") + result.str();
                before = result.str();
            }
            if (all.empty()) continue;
            std::string& kinds = results[all];
            kinds += (kinds.empty() ? "" : " ") + std::string(nameOf(kind));
        }
        return results;
    }

    static int attachTimer(KzApDocument* document) {
        return kzdxDocTimerAttach(document, TestClients::client(0), 0, 1);
    }
};

// A graph that cannot be switched on before it is built is switched on after that.
TEST_F(Refusals, WatchingNeedsTableAndModelSpace) {
    const auto watchAll = [](KzApDocument* document) {
        return watch(document, records(document), TestClients::client(0));
    };
    EXPECT_EQ(
        resultsOf(makeDoors, watchAll),
        (Results{{"1", "tableIterator recordId references erasedReferences attributeIterator evaluationGraph "
                       "protocol representations originalBlock manager currentDocument addFilter"},
                 {"0, 1", "openObject drawing"},
                 {"0", "recordByName"}}));
}

TEST_F(Refusals, ScanSkipsWhatItCannotRead) {
    const auto scan = [](KzApDocument* document) {
        if (kzdxUpdateBlockGraph(document, false, false) == 0) return std::string("refused");
        const KzDxBlocks& graph = *KzDxApplication::instance()->docData(document, false)->blocks();
        std::size_t references = 0;
        if (const KzDxBlock* const door = graph.node(find(document, u"Door")); door != nullptr) {
            for (const KzDxContainers::Entry& entry : door->containers()) references += entry.count;
        }
        return std::to_string(graph.blockMap().size()) + '+' + std::to_string(references);
    };
    // Keys of the graph and references stored of the block: there are two layouts, the block with two
    // references, and its representation.
    EXPECT_EQ(
        resultsOf(makeDoors, scan),
        (Results{{"4+2", "evaluationGraph protocol representations originalBlock manager currentDocument"},
                 {"refused, 0+0, 3+2, 3+0, 4+2, 4+0, 4+1", "openObject"},
                 {"refused", "recordByName"},
                 {"0+0", "tableIterator"},
                 {"3+2, 3+0, 4+2", "recordId"},
                 {"3+2, 3+0, 4+2, 4+0", "references erasedReferences"},
                 {"refused, 0+0", "drawing"}}));
}

// -1: refused; otherwise how many ids were appended.
TEST_F(Refusals, QueriesReturnWhatCouldBeRead) {
    const auto count = [](auto query) {
        return [query](KzApDocument* document) {
            KzDbObjectIdArray ids;
            return query(document, &ids) == 1 ? ids.length() : -1;
        };
    };
    EXPECT_EQ(resultsOf(makeTables, count(kzdxGetBlockRecordIdsOfKzDbTables)),
              (Results{{"2", "manager currentDocument"},
                       {"0, 2, 1", "openObject"},
                       {"0", "tableIterator"},
                       {"2, 1", "recordId"},
                       {"1", "recordName"},
                       {"-1", "drawing"}}));
    EXPECT_EQ(resultsOf(makeTables, count(kzdxGetKzDbTableIds)), (Results{{"3", "manager currentDocument"},
                                                                          {"0, 3, 1, 2, 1, 2", "openObject"},
                                                                          {"0", "tableIterator"},
                                                                          {"3, 1, 2", "recordId"},
                                                                          {"1, 2", "recordName references"},
                                                                          {"-1", "drawing"}}));
}

// Without a record, one is made, which needs a drawing; a document manager it can do without.
TEST_F(Refusals, TimerWithoutFilterWaitsForOne) {
    const auto makeUnknown = [] {
        KzApDocument* const document = makeDoors();
        KzDxApplication::instance()->removeDocData(document);
        return document;
    };
    EXPECT_EQ(resultsOf(makeDoors, attachTimer), (Results{{"1", "manager currentDocument addFilter"}}));
    EXPECT_EQ(resultsOf(makeUnknown, attachTimer),
              (Results{{"1", "manager documentIterator currentDocument addFilter"}, {"0", "drawing"}}));
}

// How many callbacks one idle check calls. The next one calls them in any case.
TEST_F(Refusals, RefusedIdleCheckCallsNoClient) {
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
    EXPECT_EQ(resultsOf(makeTimed, check),
              (Results{{"0", "manager currentDocument mainWindow postMessage"}}));
}

TEST_F(Refusals, LoadingNeedsTheResourceLibraryAlone) {
    const auto makeUnloaded = [] {
        unload();
        return makeDoors();
    };
    EXPECT_EQ(resultsOf(makeUnloaded, [](KzApDocument*) { return load(); }),
              (Results{{"3", "loadLibrary"},
                       {"0", "manager documentIterator drawing registerService declareMdiAware"}}));
    EXPECT_EQ(shownBoxes().size(), 1U);
}

// How much of the module an unloading leaves in the host.
TEST_F(Refusals, UnloadingLeavesAnUntakenService) {
    const auto makeLoaded = [] {
        unload();
        load();
        KzApDocument* const document = makeDoors();
        attachTimer(document);
        return document;
    };
    const auto left = [](KzApDocument*) {
        EXPECT_EQ(unload(), 0);
        return static_cast<int>(services().size() + filterCount() + managerReactorCount());
    };
    EXPECT_EQ(resultsOf(makeLoaded, left), (Results{{"1", "registry dictionaryEntry takeEntry"},
                                                    {"0", "manager documentIterator removeFilter"}}));
}

} // namespace
