// Guards what the module does when the host refuses: whatever call fails, once or from then on, nothing stays
// open; and when the host works again, so does the module, as if nothing had happened.

#include "blocks/block_graph.h"
#include "blocks/update_check.h"
#include "frame/application.h"
#include "tests/support/figures.h"
#include "tests/support/host_call_names.h"
#include "tests/support/module_test.h"
#include "tests/support/sample_drawing.h"

#include <csignal>
#include <cstdio>
#include <map>
#include <optional>

using namespace Headless;

namespace {

KzDxClientCallback timerClient() {
    return TestClients::client(0);
}
KzDxClientCallback watcher() {
    return TestClients::client(1);
}

struct Drawings : SampleDrawing {
    const KzDbObjectId first = ownerOf(modelSpace(other));

    // Edits without a notification if the objects could not be registered with. If one reference of a block
    // is moved, only that one shows that the block has changed.
    void moveNewest() const {
        for (const KzDbObjectId block : records(main)) {
            const std::vector<KzDbObjectId> live = references(block);
            if (!live.empty() && block != table) static_cast<void>(move(live.back(), table));
        }
    }
    void moveAll() const {
        for (const KzDbObjectId block : records(main)) {
            for (const KzDbObjectId each : references(block)) {
                if (ownerOf(each) == door) {
                    static_cast<void>(move(each, table));
                } else if (block != door) {
                    static_cast<void>(move(each, door));
                }
            }
            insert(block, handle);
        }
    }

    /// Opens each object for write, which notifies all reactors on it.
    void touchAll() const {
        for (KzDbObjectId id = first; id < end(); id = KzDbObjectId(id.value() + 1)) {
            static_cast<void>(touch(id));
        }
    }
    /// Beyond the last object that a test makes.
    [[nodiscard]] KzDbObjectId end() const { return KzDbObjectId(first.value() + 150); }

    /// In both drawings together.
    [[nodiscard]] std::size_t openCount() const { return openCountOf(main) + openCountOf(other); }
    [[nodiscard]] std::size_t reactorCount() const { return reactorCountOf(main) + reactorCountOf(other); }
};

/// How many reactors each object has, by its number from the first object, which makes drawings comparable
/// that were made alike. Without representations: which node is registered with them depends on what has
/// failed before.
using Registrations = std::map<std::uint64_t, std::size_t>;

bool isRepresentation(KzDbObjectId record) {
    return recordName(record).starts_with(u"*E") || recordName(record).starts_with(u"*U");
}

Registrations registrationsOf(const Drawings& drawings) {
    Registrations found;
    for (KzDbObjectId id = drawings.first; id < drawings.end(); id = KzDbObjectId(id.value() + 1)) {
        const bool belongsToRepresentation =
            isRepresentation(id) || isRepresentation(blockOf(id)) || isRepresentation(blockOf(ownerOf(id)));
        if (id.isValid() && !belongsToRepresentation) {
            found[id.value() - drawings.first.value()] = Headless::reactorCount(id);
        }
    }
    return found;
}

class Faults : public ModuleTest {
protected:
    enum class Stage {
        working,     ///< everything from loading on; the module goes on after further edits
        quietly,     ///< the same, without them
        lastWorking, ///< the same, but the module is unloaded at once
        leaving,     ///< switching off and unloading
    };
    static constexpr std::array stages{Stage::working, Stage::quietly, Stage::lastWorking, Stage::leaving};
    static constexpr std::array stageNames{"working", "working quietly", "working last", "leaving"};

    Faults() {
        unload();
        reset();
        Drawings drawings;
        work(drawings);
        drawings.moveNewest();
        drawings.moveAll();
        undisturbed_ = recovered(drawings);
        std::signal(SIGABRT, [](int) { std::fputs(explanation_.c_str(), stderr); });
        leave(drawings);
    }

    /// Lets every call of a stage fail in turn, and checks that the module recovers. Without a kind, calls of
    /// all kinds count together. Returns how many calls have failed.
    std::size_t sweep(Stage stage, std::optional<HostCall> kind, FaultSpan span) {
        std::size_t all = 0;
        for (std::size_t number = 1;; ++number) {
            const std::size_t failed = disturb(stage, kind, number, span);
            all += failed;
            if (HasFailure()) ADD_FAILURE() << explanation_;
            if (failed == 0 || HasFailure()) return all;
        }
    }

    /// The same for each kind of call by itself, of which there must be some.
    void sweepEachKind(FaultSpan span, const char* figure) {
        std::size_t all = 0;
        for (std::size_t at = 0; at < hostCallKinds && !HasFailure(); ++at) {
            const auto kind = static_cast<HostCall>(at);
            std::size_t ofKind = 0;
            for (const Stage stage : stages) ofKind += sweep(stage, kind, span);
            EXPECT_GT(ofKind, 0U) << "no call of " << nameOf(kind);
            all += ofKind;
        }
        printFigure(figure, all);
    }

private:
    /// What has failed, for messages; also for that of an update check, which ends the process.
    static std::string explanation(Stage stage, std::optional<HostCall> kind, std::size_t number,
                                   FaultSpan span) {
        std::string text = "while " + std::string(stageNames.at(static_cast<std::size_t>(stage))) +
                           ", call " + std::to_string(number) + " of " + (kind ? nameOf(*kind) : "any kind") +
                           " failed" + (span == FaultSpan::once ? "" : " and all after it") +
                           "; the calls were";
        for (const std::optional<HostCall> each : callsUpToFault()) {
            if (each) text += std::string(" ") + nameOf(*each);
        }
        return text + '\n';
    }
    static inline std::string explanation_;

    std::size_t disturb(Stage stage, std::optional<HostCall> kind, std::size_t number, FaultSpan span) {
        reset();
        Drawings drawings;
        if (stage == Stage::leaving) work(drawings);
        std::optional<KzDxUpdateCheck::Pause> pause(std::in_place);
        failHostCall(kind, number, span);
        if (stage == Stage::leaving) {
            leave(drawings);
        } else {
            work(drawings);
        }
        const std::size_t failed = endFaults();
        explanation_ = explanation(stage, kind, number, span);
        pause.reset();
        EXPECT_EQ(drawings.openCount(), 0U);
        const bool goesOn = stage == Stage::working || stage == Stage::quietly;
        const bool isMadeUpFor = goesOn && kind;
        if (stage == Stage::quietly && isMadeUpFor) updateGraphs(drawings);
        drawings.moveNewest();
        if (stage == Stage::working && isMadeUpFor) updateGraphs(drawings);
        drawings.moveAll();
        if (stage == Stage::working && isMadeUpFor) updateGraphs(drawings);
        if (stage == Stage::lastWorking) {
            leave(drawings);
            EXPECT_EQ(drawings.reactorCount(), 0U);
        }
        drawings.touchAll();
        idle();

        if (!goesOn) {
            if (isSomethingLeft()) unload();
            EXPECT_FALSE(isSomethingLeft());
        }
        EXPECT_EQ(recovered(drawings), undisturbed_);
        leave(drawings);
        EXPECT_FALSE(isSomethingLeft());
        EXPECT_EQ(drawings.reactorCount(), 0U);
        return failed;
    }

    /// The next update makes up for what failed, whichever edit causes it: each update checks itself.
    static void updateGraphs(const Drawings& drawings) {
        if (KzDxApplication::instance() == nullptr) return;
        for (KzApDocument* const document : {drawings.main, drawings.other}) {
            KzDxDocument* const data = KzDxApplication::instance()->docData(document, false);
            if (data == nullptr || !data->hasBlocks() || !data->blocks()->isEnabled()) continue;
            data->blocks()->setNeedsScan(true);
            kzdxUpdateBlockGraph(document, false, false);
        }
    }

    static void work(Drawings& drawings) {
        load();
        for (KzApDocument* const document : {drawings.main, drawings.other}) {
            kzdxDocTimerAttach(document, timerClient(), 0, 1);
            watch(document, records(document), watcher());
        }
        kzdxBlockReferenceMonitorDetach(drawings.main, watcher());
        watch(drawings.main, records(drawings.main), watcher());
        drawings.edit();
        makeCurrent(drawings.main);
        idle();
        kzdxUpdateBlockGraph(drawings.other, false, true);
        KzDbObjectIdArray ids;
        kzdxGetBlockRecordIdsOfKzDbTables(drawings.main, &ids);
        kzdxGetKzDbTableIds(drawings.main, &ids);
        comeAndGo();
    }
    /// A document is opened, watched and closed.
    static void comeAndGo() {
        KzApDocument* const document = openDocument(u"third");
        insert(modelSpace(document), makeBlock(document, u"Block"), {{u"TAG", u"1"}});
        kzdxDocTimerAttach(document, timerClient(), 0, 1);
        watch(document, records(document), watcher());
        closeDocument(document);
    }
    static void leave(const Drawings& drawings) {
        kzdxDocTimerAttach(drawings.main, timerClient(), 0, 0);
        kzdxBlockReferenceMonitorDetach(drawings.main, watcher());
        unload(); // with the other document's timer and graph running
    }
    static bool isSomethingLeft() {
        return !services().empty() || filterCount() != 0 || managerReactorCount() != 0;
    }

    /// The same calls again, all of which succeed now; a forced update; then the graphs switched off and on.
    static Registrations recovered(const Drawings& drawings) {
        EXPECT_EQ(KzDxApplication::instance() == nullptr ? load() : KzRx::done, KzRx::done);
        for (KzApDocument* const document : {drawings.main, drawings.other}) {
            EXPECT_EQ(kzdxDocTimerAttach(document, timerClient(), 0, 1), 1);
            EXPECT_EQ(watch(document, records(document), watcher()), 1);
            EXPECT_EQ(kzdxUpdateBlockGraph(document, true, true), 1);
        }
        for (KzApDocument* const document : {drawings.main, drawings.other}) {
            kzdxBlockReferenceMonitorDetach(document, watcher());
        }
        EXPECT_EQ(drawings.reactorCount(), 0U);
        for (KzApDocument* const document : {drawings.main, drawings.other}) {
            EXPECT_EQ(watch(document, records(document), watcher()), 1);
        }
        return registrationsOf(drawings);
    }

    Registrations undisturbed_; ///< after a run without faults
};

TEST_F(Faults, AnyCallMayFailOnce) {
    sweepEachKind(FaultSpan::once, "host calls that failed once");
}

TEST_F(Faults, OneKindMayFailOnwards) {
    sweepEachKind(FaultSpan::fromThenOn, "host calls that failed, one kind of them from then on");
}

TEST_F(Faults, EverythingMayFailOnwards) {
    std::size_t all = 0;
    for (const Stage stage : stages) all += sweep(stage, std::nullopt, FaultSpan::fromThenOn);
    printFigure("host calls that failed, all of them from then on", all);
}

} // namespace
