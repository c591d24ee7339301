// Guards what happens when memory runs out: whichever allocation of a call is refused, no exception leaves
// it, it says that it failed and has done nothing or says that it succeeded and has done everything, and made
// again it works. Leaving needs no memory at all. And how often it is asked for where that was seen to.

#include "blocks/block_graph.h"
#include "blocks/update_check.h"
#include "frame/application.h"
#include "templates/selected_names.h"
#include "tests/reliability/allocation_gate.h"
#include "tests/support/figures.h"
#include "tests/support/module_test.h"
#include "tests/templates/template_bytes.h"

#include <filesystem>
#include <fstream>

namespace {

using Span = Headless::FaultSpan;

// Clients that need no memory themselves.
int firstCalls = 0;
int secondCalls = 0;
void first() {
    ++firstCalls;
}
void second() {
    ++secondCalls;
}

/// A drawing with one of everything, and another one attached to it.
class Drawing {
public:
    Drawing() {
        firstCalls = secondCalls = 0;
        Headless::enhance(enhanced);
        table = Headless::insert(modelSpace, Headless::makeBlock(document, u"*Table"));
        Headless::insert(inner, Headless::represent(enhanced));
        Headless::insert(outer, inner);
        Headless::insert(Headless::modelSpace(attached), Headless::makeBlock(attached, u"Far"));
        Headless::attach(document, attached, u"SITE");
        Headless::makeCurrent(document);
        for (const KzDbObjectId id : {inner, outer, enhanced}) blocks.append(id);
    }
    ~Drawing() {
        Headless::closeDocument(document);
        Headless::closeDocument(attached);
    }
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;

    /// Makes new references and blocks, and edits what is there.
    void edit() {
        placed = Headless::insert(outer, Headless::makeBlock(document, u"New"));
        inserted = Headless::insert(modelSpace, inner, {{u"TAG", u"text"}, {u"MORE", u"text"}});
        represented = Headless::insert(modelSpace, Headless::represent(enhanced));
        Headless::setAttribute(reference, u"TAG", u"edited");
    }

    /// Whether an edit is told to the first client at the next idle check.
    [[nodiscard]] bool isTold() const {
        const int before = firstCalls;
        Headless::setAttribute(reference, u"TAG", u"edited");
        Headless::idle();
        return firstCalls != before;
    }

    void expectAllWatched() const {
        for (const KzDbObjectId id :
             {inserted, Headless::attributeOf(inserted, u"MORE"), represented, placed}) {
            EXPECT_EQ(Headless::reactorCount(id), 1U) << id.value();
        }
    }

    KzApDocument* attached = Headless::openDocument(u"attached");
    KzApDocument* document = Headless::openDocument(u"document");
    KzDbObjectId modelSpace = Headless::modelSpace(document);
    KzDbObjectId inner = Headless::makeBlock(document, u"Inner");
    KzDbObjectId outer = Headless::makeBlock(document, u"Outer");
    KzDbObjectId enhanced = Headless::makeBlock(document, u"Enhanced");
    KzDbObjectId reference = Headless::insert(modelSpace, outer, {{u"TAG", u"text"}});
    KzDbObjectId table;
    KzDbObjectId inserted;
    KzDbObjectId represented;
    KzDbObjectId placed;
    KzDbObjectIdArray blocks;
};

/// A call under trial. It is made in a new drawing for each allocation that it comes to.
struct Trial {
    std::function<void(Drawing&)> prepare;
    std::function<bool(Drawing&)> call; ///< whether it says that it succeeded
    std::function<void(Drawing&, bool succeeded)> verify;
};

class Memory : public ModuleTest {
protected:
    void sweep(const Trial& trial) {
        for (const Span span : {Span::once, Span::onwards}) {
            std::size_t number = 1;
            while (isRefused(trial, number, span) && !HasFatalFailure()) ++number;
            refusals_ += number - 1;
            ASSERT_GT(number, 1U) << "the call needs no memory: nothing was tried";
        }
    }
    static void TearDownTestSuite() { printFigure("allocations refused", refusals_); }

    static std::int32_t watch(const Drawing& drawing, KzDxClientCallback client) {
        return kzdxBlockReferenceMonitorAttach(drawing.document, &drawing.blocks, client);
    }
    static bool hasRecord(KzApDocument* document) {
        KzDxApplication* const application = KzDxApplication::instance();
        return application != nullptr && application->docData(document, false) != nullptr;
    }

private:
    /// Whether the call came to that allocation.
    static bool isRefused(const Trial& trial, std::size_t number, Span span) {
        const testing::ScopedTrace trace(__FILE__, __LINE__,
                                         "allocation " + std::to_string(number) +
                                             (span == Span::once ? "" : " and all after it"));
        Drawing drawing;
        trial.prepare(drawing);
        std::optional<KzDxUpdateCheck::Pause> pause(std::in_place);
        AllocationGate::refuse(number, span);
        bool succeeded = trial.call(drawing);
        const bool isRefused = AllocationGate::end() != 0;
        pause.reset();
        EXPECT_TRUE(succeeded || isRefused);
        EXPECT_EQ(Headless::openCountOf(drawing.document), 0U);
        trial.verify(drawing, succeeded);
        if (!succeeded) {
            EXPECT_TRUE(trial.call(drawing)) << "made again";
            trial.verify(drawing, true);
        }
        return isRefused;
    }

    static inline std::size_t refusals_ = 0;
};

void nothing(Drawing&) {}

TEST_F(Memory, Loading) {
    sweep({.prepare = [](Drawing&) { unload(); },
           .call = [](Drawing&) { return load() == KzRx::done; },
           .verify =
               [](Drawing& drawing, bool succeeded) {
                   EXPECT_EQ(hasRecord(drawing.document), succeeded);
                   EXPECT_EQ(hasRecord(drawing.attached), succeeded);
                   EXPECT_EQ(Headless::managerReactorCount(), succeeded ? 1U : 0U);
                   EXPECT_EQ(Headless::services().size(), succeeded ? 1U : 0U);
               }});
}

TEST_F(Memory, ADocumentComesIntoBeing) {
    sweep({.prepare = [](Drawing& drawing) { KzDxApplication::instance()->removeDocData(drawing.document); },
           .call =
               [](Drawing& drawing) {
                   KzDxApplication::instance()->onDocumentAdded(drawing.document);
                   return hasRecord(drawing.document);
               },
           .verify = [](Drawing&, bool) { EXPECT_EQ(Headless::managerReactorCount(), 1U); }});
}

// From nothing: the record is made, and the application attaches with it, beside another module's reactor.
TEST_F(Memory, TheFirstTimerClient) {
    KzApDocManagerReactor neighbour;
    kzDocManagerPtr()->addReactor(&neighbour);
    sweep({.prepare = [](Drawing&) { KzDxApplication::instance()->setAttached(false); },
           .call = [](Drawing& drawing) { return kzdxDocTimerAttach(drawing.document, first, 0, 1) == 1; },
           .verify =
               [](Drawing& drawing, bool succeeded) {
                   EXPECT_TRUE(Headless::managerReactorCount() == 2 || !hasRecord(drawing.document));
                   ASSERT_EQ(kzdxDocTimerAttach(drawing.document, second, 0, 1), 1);
                   Headless::idle();
                   EXPECT_EQ(firstCalls, succeeded ? 1 : 0);
                   kzdxDocTimerAttach(drawing.document, second, 0, 0);
               }});
    kzDocManagerPtr()->removeReactor(&neighbour);
}

// A call that fails leaves the interval of the others as it was.
TEST_F(Memory, AFurtherTimerClient) {
    sweep({.prepare =
               [](Drawing& drawing) { ASSERT_EQ(kzdxDocTimerAttach(drawing.document, second, 1000, 1), 1); },
           .call = [](Drawing& drawing) { return kzdxDocTimerAttach(drawing.document, first, 0, 1) == 1; },
           .verify =
               [](Drawing&, bool succeeded) {
                   Headless::idle();
                   EXPECT_EQ(firstCalls, succeeded ? 1 : 0);
                   EXPECT_EQ(secondCalls, succeeded ? 1 : 0);
               }});
}

TEST_F(Memory, TheFirstMonitorClient) {
    sweep({.prepare = nothing,
           .call = [](Drawing& drawing) { return watch(drawing, first) == 1; },
           .verify =
               [](Drawing& drawing, bool succeeded) {
                   EXPECT_EQ(drawing.isTold(), succeeded);
                   EXPECT_EQ(Headless::reactorCountOf(drawing.document) != 0, succeeded);
               }});
}

// Which builds a graph for nobody; whether it could is of no interest to the next client.
TEST_F(Memory, DetachingWhereNobodyWasAttached) {
    sweep({.prepare = nothing,
           .call =
               [](Drawing& drawing) {
                   kzdxBlockReferenceMonitorDetach(drawing.document, first);
                   return true;
               },
           .verify =
               [](Drawing& drawing, bool) {
                   EXPECT_EQ(Headless::reactorCountOf(drawing.document), 0U);
                   EXPECT_EQ(watch(drawing, first), 1);
                   EXPECT_TRUE(drawing.isTold());
               }});
}

TEST_F(Memory, AFurtherMonitorClient) {
    sweep({.prepare = [](Drawing& drawing) { ASSERT_EQ(watch(drawing, second), 1); },
           .call = [](Drawing& drawing) { return watch(drawing, first) == 1; },
           .verify =
               [](Drawing& drawing, bool succeeded) {
                   secondCalls = 0;
                   EXPECT_EQ(drawing.isTold(), succeeded);
                   EXPECT_EQ(secondCalls, 1);
               }});
}

// No edit is lost: if not this update, then the next one tells every client of it, once, and watches what was
// inserted.
TEST_F(Memory, UpdatingAtOnce) {
    sweep({.prepare =
               [](Drawing& drawing) {
                   KzDbObjectIdArray outer;
                   outer.append(drawing.outer);
                   ASSERT_EQ(watch(drawing, first), 1);
                   ASSERT_EQ(kzdxBlockReferenceMonitorAttach(drawing.document, &outer, second), 1);
                   drawing.edit();
               },
           .call = [](Drawing& drawing) { return kzdxUpdateBlockGraph(drawing.document, false, true) == 1; },
           .verify =
               [](Drawing& drawing, bool succeeded) {
                   EXPECT_EQ(firstCalls, succeeded ? 1 : 0);
                   EXPECT_EQ(secondCalls, succeeded ? 1 : 0);
                   if (succeeded) drawing.expectAllWatched();
               }});
}

// What nobody was told of is found by force, and if that fails, at the next idle check: a representation that
// came late is not watched before the watching begins anew.
TEST_F(Memory, UpdatingByForce) {
    KzDbObjectId inserted;
    sweep({.prepare =
               [&](Drawing& drawing) {
                   ASSERT_EQ(watch(drawing, first), 1);
                   drawing.edit();
                   kzdxUpdateBlockGraph(drawing.document, false, true);
                   firstCalls = 0;
                   const KzDbObjectId late = Headless::blockOf(drawing.represented);
                   inserted = Headless::insert(late, drawing.inner, {{u"TAG", u"text"}});
               },
           .call = [](Drawing& drawing) { return kzdxUpdateBlockGraph(drawing.document, true, true) == 1; },
           .verify =
               [&](Drawing&, bool succeeded) {
                   if (!succeeded) Headless::idle();
                   EXPECT_EQ(firstCalls, 1);
                   EXPECT_EQ(Headless::reactorCount(inserted), 1U);
                   EXPECT_EQ(Headless::reactorCount(Headless::attributeOf(inserted, u"TAG")), 1U);
               }});
}

// A reference that left memory gives no mark, only something to read: also after a forced update that failed.
TEST_F(Memory, UpdatingByForceAfterAGoodbye) {
    sweep({.prepare =
               [](Drawing& drawing) {
                   ASSERT_EQ(watch(drawing, first), 1);
                   ASSERT_TRUE(drawing.isTold());
                   firstCalls = 0;
                   ASSERT_TRUE(Headless::goodbye(drawing.reference));
               },
           .call = [](Drawing& drawing) { return kzdxUpdateBlockGraph(drawing.document, true, true) == 1; },
           .verify =
               [](Drawing&, bool succeeded) {
                   if (!succeeded) Headless::idle();
                   EXPECT_EQ(firstCalls, 1);
               }});
}

// The graph's failure is none of the other timers.
TEST_F(Memory, AnIdleCheck) {
    sweep({.prepare =
               [](Drawing& drawing) {
                   ASSERT_EQ(watch(drawing, first), 1);
                   ASSERT_EQ(kzdxDocTimerAttach(drawing.document, second, 0, 1), 1);
                   drawing.edit();
                   Headless::reportLockMode(drawing.document, u"#");
               },
           .call =
               [](Drawing&) {
                   Headless::pump();
                   return firstCalls != 0;
               },
           .verify =
               [](Drawing& drawing, bool succeeded) {
                   EXPECT_EQ(firstCalls, succeeded ? 1 : 0);
                   EXPECT_GE(secondCalls, 1);
                   if (succeeded) drawing.expectAllWatched();
                   Headless::reportLockMode(drawing.document, u"#");
               }});
}

TEST_F(Memory, TableQueries) {
    KzDbObjectIdArray ids;
    for (const auto query : {kzdxGetBlockRecordIdsOfKzDbTables, kzdxGetKzDbTableIds}) {
        sweep({.prepare =
                   [&](Drawing& drawing) {
                       KzDxApplication::instance()->removeDocData(drawing.document);
                       for (int more = 0; more < 12; ++more) {
                           const std::u16string name =
                               u"*T" + std::u16string(1, static_cast<char16_t>(u'a' + more));
                           Headless::insert(drawing.inner, Headless::makeBlock(drawing.document, name));
                       }
                       ids = drawing.blocks; // what the array held stays in front
                   },
               .call = [&](Drawing& drawing) { return query(drawing.document, &ids) == 1; },
               .verify =
                   [&](Drawing& drawing, bool succeeded) {
                       ASSERT_EQ(ids.length(), succeeded ? 16 : 3);
                       if (!succeeded) return;
                       const bool isRecordQuery = query == kzdxGetBlockRecordIdsOfKzDbTables;
                       EXPECT_EQ(ids[3], isRecordQuery ? Headless::blockOf(drawing.table) : drawing.table);
                   }});
    }
}

TEST_F(Memory, ReadingATemplate) {
    const auto path = std::filesystem::temp_directory_path() / "zelvane_memory_test.tpl";
    const std::vector<std::byte> bytes = exampleBytes().bytes;
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    const std::u16string name = path.u16string();
    std::vector<std::u16string> blocks;
    std::vector<std::u16string> attributes;
    sweep({.prepare = [&](Drawing&) { blocks = attributes = {u"before"}; },
           .call =
               [&](Drawing&) {
                   kzdxReadLegacyBlkTemplate(name, blocks, attributes);
                   return !blocks.empty();
               },
           .verify =
               [&](Drawing&, bool succeeded) {
                   using Names = std::vector<std::u16string>;
                   EXPECT_EQ(blocks, succeeded ? Names{u"DOOR"} : Names());
                   EXPECT_EQ(attributes, succeeded ? Names{u"TAG"} : Names());
               }});
    std::filesystem::remove(path);
}

TEST_F(Memory, ATemplateSaysThatItRanOut) {
    const std::vector<std::byte> bytes = exampleBytes().bytes;
    sweep({.prepare = nothing,
           .call =
               [&](Drawing&) {
                   KzDxMemorySource source(bytes);
                   CEattMain read;
                   const KzDxArchiveFailure failure = kzdxReadTemplate(source, read);
                   EXPECT_TRUE(!failure || failure.error == KzDxArchiveError::outOfMemory);
                   EXPECT_EQ(read.blocks.empty(), static_cast<bool>(failure));
                   return !failure;
               },
           .verify = [](Drawing&, bool) {}});
}

// Clients detach, documents close and the module unloads when there is no memory at all.
TEST_F(Memory, LeavingNeedsNone) {
    for (const bool isDetachingFirst : {true, false}) {
        Drawing drawing;
        ASSERT_EQ(watch(drawing, first), 1);
        ASSERT_EQ(kzdxDocTimerAttach(drawing.document, second, 0, 1), 1);
        ASSERT_EQ(kzdxBlockReferenceMonitorAttach(drawing.attached, &drawing.blocks, first), 1);
        const KzDxUpdateCheck::Pause pause;
        AllocationGate::refuse(1, Span::onwards);
        if (isDetachingFirst) {
            kzdxBlockReferenceMonitorDetach(drawing.document, first);
            kzdxDocTimerAttach(drawing.document, second, 0, 0);
        }
        const std::size_t registered = Headless::reactorCountOf(drawing.document);
        KzDxApplication::instance()->onDocumentRemoving(drawing.document);
        unload();
        AllocationGate::end();
        EXPECT_EQ(registered == 0, isDetachingFirst);
        EXPECT_EQ(Headless::reactorCountOf(drawing.document), 0U);
        EXPECT_EQ(Headless::reactorCountOf(drawing.attached), 0U);
        EXPECT_EQ(Headless::filterCount() + Headless::managerReactorCount() + Headless::services().size(),
                  0U);
        ASSERT_EQ(load(), KzRx::done);
    }
}

/// How many allocations `work` makes.
template <class Work>
std::size_t allocationsOf(Work work) {
    const KzDxUpdateCheck::Pause pause;
    const std::size_t before = AllocationGate::allocations();
    work();
    return AllocationGate::allocations() - before;
}

// What is announced is taken in one go, and what was taken serves again. The limits are what was counted.
TEST_F(Memory, ATemplateTakesItInOneGo) {
    TemplateBytes blocks;
    blocks.start(100).classDefinition().body(u"0");
    for (char16_t made = 1; made < 100; ++made) blocks.u16(0x8001).body(std::u16string(1, made));
    TemplateBytes attributes;
    attributes.start(1).classDefinition().text(u"B").u32(1).u32(64);
    for (char16_t made = 0; made < 64; ++made) attributes.text(std::u16string(20, made)).u32(1);
    const auto expectFew = [](const TemplateBytes& all, std::size_t toRead, std::size_t toGive) {
        CEattMain read;
        EXPECT_LE(allocationsOf([&] {
                      KzDxMemorySource source(all.bytes);
                      EXPECT_FALSE(kzdxReadTemplate(source, read));
                  }),
                  toRead);
        std::vector<std::u16string> blockNames;
        std::vector<std::u16string> attributeNames;
        EXPECT_LE(allocationsOf([&] { kzdxGiveSelectedNames(read, blockNames, attributeNames); }), toGive);
    };
    expectFew(blocks, 100 + 2, 13);
    expectFew(attributes, 8, 64 + 15);
}

TEST_F(Memory, AnUpdateTakesItForWhatWasEdited) {
    Drawing drawing;
    for (char16_t made = 1; made < 100; ++made) {
        const KzDbObjectId block = Headless::makeBlock(drawing.document, std::u16string(made, u'B'));
        Headless::insert(drawing.outer, block, {{u"TAG", u"text"}});
        Headless::insert(drawing.outer, drawing.inner);
    }
    ASSERT_EQ(watch(drawing, first), 1);
    const auto update = [&] { kzdxUpdateBlockGraph(drawing.document, false, true); };
    const auto readAll = [&] { kzdxUpdateBlockGraph(drawing.document, true, true); };
    Headless::touch(drawing.reference);
    update();
    Headless::touch(drawing.reference);
    EXPECT_LE(allocationsOf(update), 16U);
    EXPECT_LE(allocationsOf(readAll), Headless::records(drawing.document).size() + 7);
    KzDxBlocks& graph = *KzDxApplication::instance()->docData(drawing.document, false)->blocks();
    KzDxIdSet nested;
    graph.getNestedBlocks(drawing.modelSpace, true, nested);
    Headless::insert(Headless::makeBlock(drawing.document, u"New"), drawing.inner);
    update();
    EXPECT_LE(allocationsOf([&] { graph.getNestedBlocks(drawing.modelSpace, true, nested); }), 5U);
}

TEST_F(Memory, IdleChecksLeaveItWhereItWas) {
    Drawing drawing;
    ASSERT_EQ(watch(drawing, first), 1);
    ASSERT_EQ(kzdxDocTimerAttach(drawing.document, second, 3, 1), 1);
    for (int warmUp = 0; warmUp < 10; ++warmUp) ASSERT_TRUE(drawing.isTold());
    constexpr int checks = 1'000'000;
    firstCalls = secondCalls = 0;
    const KzDxUpdateCheck::Pause pause;
    const std::size_t before = AllocationGate::liveBytes();
    for (int check = 0; check < checks; ++check) {
        if (check % 1000 == 0) Headless::touch(drawing.reference);
        Headless::advance(1);
        Headless::idle();
    }
    EXPECT_EQ(AllocationGate::liveBytes(), before);
    EXPECT_EQ(firstCalls, checks / 1000);
    EXPECT_EQ(secondCalls, checks / 3);
    printFigure("idle checks", checks);
}

} // namespace
