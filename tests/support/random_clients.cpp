#include "tests/support/random_clients.h"

#include "frame/application.h"
#include "headless/modules.h"
#include "host/module_interface.h"
#include "tests/support/graph_checks.h"
#include "tests/support/leaks.h"
#include "tests/support/pick.h"
#include "tests/support/random_drawing.h"
#include "tests/support/test_clients.h"

#include <algorithm>
#include <memory>
#include <set>
#include <utility>
#include <vector>

extern "C" std::int32_t kzrxEntryPoint(std::int32_t message, void* packet) noexcept;

namespace {

constexpr int deepestNesting = 24; // sanitizers make frames large
constexpr std::size_t mostDrawings = 3;

using Headless::HostCall;

/// What the host may refuse for a while.
const std::vector<HostCall> refusable = {HostCall::addFilter,  HostCall::removeFilter,
                                         HostCall::manager,    HostCall::documentIterator,
                                         HostCall::mainWindow, HostCall::postMessage};

void refuseNothing() {
    for (const HostCall each : refusable) Headless::refuse(each, false);
}

bool isAnyOpen(const std::unique_ptr<RandomDrawing>& drawing) {
    return Headless::isOpen(drawing->document) || Headless::isOpen(drawing->attached);
}

bool isHostListing() {
    const KzApDocManager* const manager = kzDocManagerPtr();
    return manager != nullptr &&
           std::unique_ptr<KzApDocumentIterator>(manager->newDocumentIterator()) != nullptr;
}

/// One run of a list of actions. They are done one after the other from outside, as a user, the host and
/// other modules would; and each callback that the module calls does the next ones of the same list from
/// inside. So they nest at random depths, and end with the list.
class RandomClients {
public:
    using Action = RandomAction;

    explicit RandomClients(std::span<const Action> actions) : actions_(actions), left_(actions) {
        for (std::size_t client = 0; client < TestClients::count; ++client) {
            clients_.onCall[client] = [this, client] { answerCall(client); };
        }
    }

    [[nodiscard]] std::string run() {
        Headless::reset();
        Headless::sendMessage(kzrxEntryPoint, KzRx::loadMessage);
        kzDocManagerPtr()->addReactor(&neighbour_);
        openDrawing({});
        while (!left_.empty() && complaint_.empty()) {
            actOnce();
            std::erase_if(drawings_, [](const auto& drawing) { return !isAnyOpen(drawing); });
        }
        const std::size_t tried = actions_.size() - left_.size();
        finish();
        return complaint_.empty() ? "" : complaint_ + "after " + std::to_string(tried) + " actions";
    }

private:
    void actOnce() {
        if (left_.empty()) return;
        const Action action = left_.front();
        left_ = left_.subspan(1);
        ++randomFigures.actions;
        if (depth_ != 0) ++randomFigures.inCallbacks;
        // Every other action is an edit.
        if (action.kind % 2 == 0) return editDrawing(action);
        (this->*pick(otherActions(), static_cast<std::uint8_t>(action.kind / 2)))(action);
    }

    using Member = void (RandomClients::*)(const Action&);
    /// The actions other than edits, as often as they shall occur.
    static const std::vector<Member>& otherActions() {
        using Self = RandomClients;
        static const std::vector<Member> all{
            &Self::switchTimer,   &Self::switchTimer,   &Self::switchMonitor,  &Self::switchMonitor,
            &Self::switchMonitor, &Self::switchMonitor, &Self::updateGraph,    &Self::updateGraph,
            &Self::askForTables,  &Self::openDrawing,   &Self::closeDocument,  &Self::makeCurrent,
            &Self::pump,          &Self::rest,          &Self::rest,           &Self::rest,
            &Self::passTime,      &Self::runCommand,    &Self::reportLockMode, &Self::postAnything,
            &Self::disturb,       &Self::updateGraph,   &Self::loadOrUnload,   &Self::loadOrUnload};
        return all;
    }

    void answerCall(std::size_t client) {
        ++randomFigures.callbacks;
        const bool isOurs = std::ranges::any_of(attached_, [client](const auto& attachment) {
            return attachment.second == TestClients::client(client) && Headless::isOpen(attachment.first);
        });
        if (!isOurs)
            complaint_ = "client " + std::to_string(client) + " was called, which no open document has; ";
        answer(1 + client % 3);
    }

    void answer(std::size_t count) {
        if (depth_ == deepestNesting) return;
        ++depth_;
        while (count-- > 0) actOnce();
        --depth_;
    }

    void finish() {
        left_ = {};
        for (const auto& drawing : drawings_) drawing->releaseHold();
        unloadModule();
        // Now the module can remove what the host refused to remove, also if it was unloaded by then.
        refuseNothing();
        unloadModule();
        kzDocManagerPtr()->removeReactor(&neighbour_);
        if (const std::string leftovers = leakedRegistrations(); !leftovers.empty()) {
            complaint_ += "left in the host: " + leftovers;
        }
        Headless::reset();
    }

    void unloadModule() {
        Headless::sendMessage(kzrxEntryPoint, KzRx::unloadMessage);
        attached_.clear();
    }

    // ---- what an action names

    /// Any document, closed ones too unless the host does not tell which they are.
    [[nodiscard]] KzApDocument* anyDocument(std::uint8_t byte) const {
        if (byte == 0) return nullptr;
        // Where there is most to do, half of the time.
        std::vector<KzApDocument*> known;
        if (byte % 2 == 0) known = opened_;
        for (const auto& drawing : drawings_) known.push_back(drawing->document);
        if (!isHostListing())
            std::erase_if(known, [](KzApDocument* document) { return !Headless::isOpen(document); });
        return pick(known, byte / 2);
    }

    static KzDxClientCallback anyClient(std::uint8_t byte) {
        return byte == 0 ? nullptr : TestClients::client(byte % TestClients::count);
    }

    /// Records of the document mostly; among them null, a made-up id, records of other documents, and an id
    /// of whatever object there is or was.
    static KzDbObjectIdArray anyIds(const KzApDocument* document, std::uint8_t count, std::uint8_t first) {
        std::vector<KzDbObjectId> known = Headless::records(document);
        known.insert(known.end(), {KzDbObjectId(), KzDbObjectId(~std::uint64_t{0}), KzDbObjectId(first)});
        for (const KzApDocument* const each : Headless::documents())
            known.push_back(Headless::modelSpace(each));
        KzDbObjectIdArray ids;
        for (int number = 0; number < count % 8; ++number) {
            ids.append(pick(known, static_cast<std::uint8_t>(first + 5 * number)));
        }
        return ids;
    }

    // ---- the actions

    void editDrawing(const Action& action) {
        if (drawings_.empty()) return;
        RandomDrawing& drawing = *drawings_[action.kind / 2 % 4 % drawings_.size()];
        // Six bits say which edit, two which drawing.
        const auto kind = static_cast<std::uint8_t>(action.kind / 8);
        drawing.apply({.kind = kind, .first = action.a, .second = action.b, .how = action.c});
    }

    void switchTimer(const Action& action) {
        static const std::vector<std::uint32_t> intervals{0, 0, 0, 10, 10, 1000, 1000, 0x8000'0000};
        KzApDocument* const document = anyDocument(action.a);
        const KzDxClientCallback client = anyClient(action.b);
        const std::int32_t attach = action.c % 3 == 0 ? 0 : 1;
        if (kzdxDocTimerAttach(document, client, pick(intervals, action.c), attach) == 1 && attach == 1)
            attached_.emplace(document, client);
    }

    void switchMonitor(const Action& action) {
        KzApDocument* const document = anyDocument(action.a);
        const KzDxClientCallback client = anyClient(action.b);
        if (action.c % 4 == 1) return kzdxBlockReferenceMonitorDetach(document, client);
        const KzDbObjectIdArray ids = anyIds(document, static_cast<std::uint8_t>(action.c / 32), action.c);
        if (kzdxBlockReferenceMonitorAttach(document, action.c == 0 ? nullptr : &ids, client) == 1)
            attached_.emplace(document, client);
    }

    void updateGraph(const Action& action) {
        KzApDocument* const document = anyDocument(action.a);
        kzdxUpdateBlockGraph(document, action.b % 2 == 0, action.c % 2 == 0);
    }

    void askForTables(const Action& action) {
        KzDbObjectIdArray ids = anyIds(nullptr, action.c, 0);
        kzdxGetBlockRecordIdsOfKzDbTables(anyDocument(action.a), action.c == 0 ? nullptr : &ids);
        kzdxGetKzDbTableIds(anyDocument(action.b), &ids);
    }

    void openDrawing(const Action& action) {
        if (action.b % 8 == 0) Headless::openDocument(u"without", false);
        if (std::ranges::count_if(drawings_, isAnyOpen) >= static_cast<std::ptrdiff_t>(mostDrawings)) return;
        drawings_.push_back(std::make_unique<RandomDrawing>(action.a));
    }

    void closeDocument(const Action& action) {
        if (action.b % 2 == 0) return; // there should be something left to do
        Headless::closeDocument(anyDocument(action.a));
    }

    void makeCurrent(const Action& action) { Headless::makeCurrent(anyDocument(action.a)); }

    void pump(const Action&) { Headless::pump(); }

    void rest(const Action& action) {
        if (action.a % 2 == 0) Headless::makeCurrent(anyDocument(action.b));
        if (action.a / 2 % 4 != 0) clearDisturbances();
        Headless::advance(std::uint32_t{action.c} * 8);
        Headless::idle();
    }

    void passTime(const Action& action) {
        if (action.a % 2 == 0) return Headless::advance(std::uint32_t{action.b} * action.c);
        Headless::setTicks(0xFFFF'FFFF - action.b); // the count is about to wrap around
    }

    void runCommand(const Action&) {
        KzApDocument* const document = Headless::beginCommand(u"EDIT");
        actOnce();
        actOnce();
        Headless::endCommand(document, u"EDIT");
        Headless::pump();
    }

    void reportLockMode(const Action& action) {
        static const std::vector<const char16_t*> commands{nullptr, u"", u"#", u"EDIT", u"#EDIT"};
        Headless::reportLockMode(anyDocument(action.a), pick(commands, action.b));
    }

    void postAnything(const Action& action) {
        const std::vector<std::uint32_t> numbers{KzPlatform::registerWindowMessage(u"WM_KZDX_IDLE_CHECK"), 0,
                                                 action.b};
        // Documents that were closed too: only their addresses count.
        const auto address = reinterpret_cast<std::uintptr_t>(pick(opened_, action.b));
        Headless::post(pick(numbers, action.a), action.c == 0 ? action.b : address, action.c);
    }

    // Ends what `disturb` has begun.
    static void clearDisturbances() {
        refuseNothing();
        Headless::setInputWaiting(false);
        Headless::documentState(Headless::currentDocument()) = {.lockMode = KzAp::DocLockMode{2}};
    }

    // The host is busy, refuses something, or does no longer.
    void disturb(const Action& action) {
        const bool isDisturbed = action.a % 2 == 0;
        Headless::DocumentState& state = Headless::documentState(anyDocument(action.c));
        const int what = action.b % 9;
        if (what == 0) Headless::setInputWaiting(isDisturbed);
        if (what == 1) state.isReady = !isDisturbed;
        if (what == 2) state.busy = isDisturbed ? 1 : 0;
        if (what == 3) state.lockMode = KzAp::DocLockMode{isDisturbed ? 1 : 2};
        if (what == 4) state.isListed = !isDisturbed;
        if (what > 4) Headless::refuse(pick(refusable, action.b), isDisturbed);
    }

    void loadOrUnload(const Action& action) {
        if (action.a % 12 == 0) return unloadModule();
        Headless::sendMessage(kzrxEntryPoint, KzRx::loadMessage); // refused when it is loaded already
    }

    /// Another module that is notified of documents: after Zelvane, and before it once that was loaded again.
    class OtherModule final : public KzApDocManagerReactor {
    public:
        explicit OtherModule(RandomClients& clients) : clients_(clients) {}
        void documentCreateStarted(KzApDocument* document) override {
            clients_.opened_.push_back(document);
            clients_.answer(1);
        }
        void onDocumentAdded(KzApDocument*) override { clients_.answer(1); }
        void onDocumentRemoving(KzApDocument*) override { clients_.answer(1); }
        void documentDestroyed(const char16_t*) override { clients_.answer(1); }
        void documentBecameCurrent(KzApDocument*) override { clients_.answer(1); }

    private:
        RandomClients& clients_;
    };

    std::span<const Action> actions_;
    std::span<const Action> left_;
    std::string complaint_;
    TestClients clients_;
    OtherModule neighbour_{*this};
    int depth_ = 0;
    std::vector<std::unique_ptr<RandomDrawing>> drawings_;
    std::vector<KzApDocument*> opened_;
    /// What was attached where since the module was loaded, detached or not: a notification under way calls
    /// all clients that it has collected.
    std::set<std::pair<KzApDocument*, KzDxClientCallback>> attached_;
};

} // namespace

std::string runRandomClients(std::span<const RandomAction> actions) {
    return RandomClients(actions).run();
}
