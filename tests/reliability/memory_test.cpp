// Guards what happens when memory runs out: whichever allocation of a call is refused, no exception leaves
// it; it reports failure and has done nothing, or reports success and has done all; and made again it works.
// Leaving does not allocate.

#include "blocks/block_graph.h"
#include "blocks/update_check.h"
#include "frame/application.h"
#include "templates/selected_names.h"
#include "tests/reliability/allocation_gate.h"
#include "tests/support/figures.h"
#include "tests/support/module_test.h"
#include "tests/support/random_drawing.h"
#include "tests/support/sample_drawing.h"
#include "tests/templates/template_bytes.h"

#include <filesystem>
#include <fstream>
#include <random>

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

class Drawing : public SampleDrawing {
public:
    Drawing() {
        firstCalls = secondCalls = 0;
        for (const KzDbObjectId id : {handle, door}) blocks.append(id);
    }
    ~Drawing() {
        Headless::closeDocument(main);
        Headless::closeDocument(other);
    }
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;

    /// Whether the first client is notified of an edit at the next idle check.
    [[nodiscard]] bool isNotified() const {
        const int before = firstCalls;
        Headless::setAttribute(reference, u"TAG", u"edited");
        Headless::idle();
        return firstCalls != before;
    }

    void expectAllWatched() const {
        for (const KzDbObjectId id : {placed, Headless::attributeOf(placed, u"TAG"), represented}) {
            EXPECT_EQ(Headless::reactorCount(id), 1U) << id.value();
        }
    }

    KzDbObjectIdArray blocks;
};

/// A call under trial, in a new drawing for each allocation.
struct Trial {
    std::function<void(Drawing&)> prepare;
    std::function<bool(Drawing&)> call; ///< whether it says that it succeeded
    std::function<void(Drawing&, bool succeeded)> verify;
};

class Memory : public ModuleTest {
protected:
    void sweep(const Trial& trial) {
        for (const Span span : {Span::once, Span::fromThenOn}) {
            std::size_t number = 1;
            while (isRefused(trial, number, span) && !HasFatalFailure()) ++number;
            refusals_ += number - 1;
            ASSERT_GT(number, 1U) << "the call needs no memory: nothing was tried";
        }
    }
    static void TearDownTestSuite() { printFigure("allocations refused", refusals_); }

    static std::int32_t watch(const Drawing& drawing, KzDxClientCallback client) {
        return kzdxBlockReferenceMonitorAttach(drawing.main, &drawing.blocks, client);
    }
    static bool hasRecord(KzApDocument* document) {
        KzDxApplication* const application = KzDxApplication::instance();
        return application != nullptr && application->docData(document, false) != nullptr;
    }

    static inline std::size_t refusals_ = 0;

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
        EXPECT_EQ(Headless::openCountOf(drawing.main), 0U);
        trial.verify(drawing, succeeded);
        if (!succeeded) {
            EXPECT_TRUE(trial.call(drawing)) << "made again";
            trial.verify(drawing, true);
        }
        return isRefused;
    }
};

void nothing(Drawing&) {}

TEST_F(Memory, Loading) {
    sweep({.prepare = [](Drawing&) { unload(); },
           .call = [](Drawing&) { return load() == KzRx::done; },
           .verify =
               [](Drawing& drawing, bool succeeded) {
                   EXPECT_EQ(hasRecord(drawing.main), succeeded);
                   EXPECT_EQ(hasRecord(drawing.other), succeeded);
                   EXPECT_EQ(Headless::managerReactorCount(), succeeded ? 1U : 0U);
                   EXPECT_EQ(Headless::services().size(), succeeded ? 1U : 0U);
               }});
}

TEST_F(Memory, AddingADocument) {
    sweep({.prepare = [](Drawing& drawing) { KzDxApplication::instance()->removeDocData(drawing.main); },
           .call =
               [](Drawing& drawing) {
                   KzDxApplication::instance()->onDocumentAdded(drawing.main);
                   return hasRecord(drawing.main);
               },
           .verify = [](Drawing&, bool) { EXPECT_EQ(Headless::managerReactorCount(), 1U); }});
}

// The first client from nothing: the record is made, and the application attaches with it. A call that fails
// for a further client leaves the interval of the others as it was.
TEST_F(Memory, AttachingTimerClients) {
    for (const bool isFirst : {true, false}) {
        sweep({.prepare =
                   [&](Drawing& drawing) {
                       KzDxApplication::instance()->setAttached(!isFirst);
                       EXPECT_TRUE(isFirst || kzdxDocTimerAttach(drawing.main, second, 1000, 1) == 1);
                   },
               .call = [](Drawing& drawing) { return kzdxDocTimerAttach(drawing.main, first, 0, 1) == 1; },
               .verify =
                   [&](Drawing& drawing, bool succeeded) {
                       EXPECT_TRUE(Headless::managerReactorCount() == 1 || !hasRecord(drawing.main));
                       Headless::idle();
                       EXPECT_EQ(firstCalls, succeeded ? 1 : 0);
                       EXPECT_EQ(secondCalls, succeeded && !isFirst ? 1 : 0);
                   }});
    }
}

TEST_F(Memory, AttachingMonitorClients) {
    for (const bool isFirst : {true, false}) {
        sweep({.prepare = [&](Drawing& drawing) { EXPECT_TRUE(isFirst || watch(drawing, second) == 1); },
               .call = [](Drawing& drawing) { return watch(drawing, first) == 1; },
               .verify =
                   [&](Drawing& drawing, bool succeeded) {
                       secondCalls = 0;
                       EXPECT_EQ(drawing.isNotified(), succeeded);
                       EXPECT_EQ(secondCalls, isFirst ? 0 : 1);
                       EXPECT_EQ(Headless::reactorCountOf(drawing.main) != 0, succeeded || !isFirst);
                   }});
    }
}

// Wherever updates are interrupted, with and without clients: the next update completes them, as its
// self-check shows, and nothing stays registered.
TEST_F(Memory, InterruptedUpdates) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        std::mt19937 random(seed);
        const auto isChosen = [&] { return random() % 2 == 0; };
        RandomDrawing drawing(seed);
        KzDbObjectIdArray records;
        for (const KzDbObjectId id : Headless::records(drawing.document)) records.append(id);
        for (int round = 0; round < 8; ++round) {
            if (isChosen()) kzdxBlockReferenceMonitorDetach(drawing.document, first);
            if (isChosen()) kzdxBlockReferenceMonitorAttach(drawing.document, &records, first);
            drawing.edit(20);
            if (isChosen()) drawing.releaseHold();
            {
                const KzDxUpdateCheck::Pause pause;
                AllocationGate::refuse(1 + random() % 60, isChosen() ? Span::once : Span::fromThenOn);
                if (isChosen()) kzdxBlockReferenceMonitorDetach(drawing.document, second);
                kzdxUpdateBlockGraph(drawing.document, isChosen(), false);
                refusals_ += std::min<std::size_t>(AllocationGate::end(), 1);
            }
            ASSERT_EQ(kzdxUpdateBlockGraph(drawing.document, isChosen(), true), 1);
        }
        drawing.releaseHold();
        KzDxApplication::instance()->removeDocData(drawing.document);
        for (KzApDocument* const document : {drawing.document, drawing.attached}) {
            ASSERT_EQ(Headless::reactorCountOf(document), 0U) << "seed " << seed;
            Headless::closeDocument(document);
        }
    }
}

// No edit is lost: the check, or the next one, notifies the client, once, and registers with what was
// inserted. A failure of the graph does not affect other timers.
TEST_F(Memory, IdleCheck) {
    sweep({.prepare =
               [](Drawing& drawing) {
                   ASSERT_EQ(watch(drawing, first), 1);
                   ASSERT_EQ(kzdxDocTimerAttach(drawing.main, second, 0, 1), 1);
                   drawing.edit();
                   Headless::reportLockMode(drawing.main, u"#");
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
                   Headless::reportLockMode(drawing.main, u"#");
               }});
}

TEST_F(Memory, TableQueries) {
    KzDbObjectIdArray ids;
    for (const auto query : {kzdxGetBlockRecordIdsOfKzDbTables, kzdxGetKzDbTableIds}) {
        sweep({.prepare =
                   [&](Drawing& drawing) {
                       KzDxApplication::instance()->removeDocData(drawing.main);
                       for (int more = 0; more < 12; ++more) {
                           const std::u16string name =
                               u"*T" + std::u16string(1, static_cast<char16_t>(u'a' + more));
                           Headless::insert(drawing.handle, Headless::makeBlock(drawing.main, name));
                       }
                       ids = drawing.blocks; // what the array held stays in front
                   },
               .call = [&](Drawing& drawing) { return query(drawing.main, &ids) == 1; },
               .verify =
                   [&](Drawing& drawing, bool succeeded) {
                       ASSERT_EQ(ids.length(), succeeded ? 15 : 2);
                       if (!succeeded) return;
                       const bool isRecordQuery = query == kzdxGetBlockRecordIdsOfKzDbTables;
                       EXPECT_EQ(isRecordQuery ? ids[2] : Headless::blockOf(ids[2]), drawing.table);
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

TEST_F(Memory, TemplateReaderReportsIt) {
    const std::vector<std::byte> bytes = exampleBytes().bytes;
    bool isOutOfMemory = false;
    sweep({.prepare = nothing,
           .call =
               [&](Drawing&) {
                   KzDxMemorySource source(bytes);
                   CEattMain read;
                   isOutOfMemory = kzdxReadTemplate(source, read).error == KzDxArchiveError::outOfMemory;
                   return read.blocks.size() == 2;
               },
           .verify = [&](Drawing&, bool succeeded) { EXPECT_NE(succeeded, isOutOfMemory); }});
}

// Clients detach, documents close and the module unloads without any memory.
TEST_F(Memory, LeavingAllocatesNothing) {
    for (const bool isDetachingFirst : {true, false}) {
        Drawing drawing;
        ASSERT_EQ(watch(drawing, first), 1);
        ASSERT_EQ(kzdxDocTimerAttach(drawing.main, second, 0, 1), 1);
        ASSERT_EQ(kzdxBlockReferenceMonitorAttach(drawing.other, &drawing.blocks, first), 1);
        const KzDxUpdateCheck::Pause pause;
        AllocationGate::refuse(1, Span::fromThenOn);
        if (isDetachingFirst) {
            kzdxBlockReferenceMonitorDetach(drawing.main, first);
            kzdxDocTimerAttach(drawing.main, second, 0, 0);
        }
        const std::size_t registered = Headless::reactorCountOf(drawing.main);
        KzDxApplication::instance()->onDocumentRemoving(drawing.main);
        unload();
        AllocationGate::end();
        EXPECT_EQ(registered == 0, isDetachingFirst);
        EXPECT_EQ(Headless::reactorCountOf(drawing.main), 0U);
        EXPECT_EQ(Headless::reactorCountOf(drawing.other), 0U);
        EXPECT_EQ(Headless::filterCount() + Headless::managerReactorCount() + Headless::services().size(),
                  0U);
        ASSERT_EQ(load(), KzRx::done);
    }
}

TEST_F(Memory, IdleChecksKeepNone) {
    Drawing drawing;
    ASSERT_EQ(watch(drawing, first), 1);
    ASSERT_EQ(kzdxDocTimerAttach(drawing.main, second, 3, 1), 1);
    for (int warmUp = 0; warmUp < 10; ++warmUp) ASSERT_TRUE(drawing.isNotified());
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
