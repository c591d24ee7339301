#include "tests/support/unruly_clients.h"

#include "frame/application.h"
#include "headless/modules.h"
#include "host/module_interface.h"
#include "tests/support/graph_checks.h"
#include "tests/support/leftovers.h"
#include "tests/support/pick.h"

#include <algorithm>
#include <initializer_list>

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

} // namespace

// ---- whose turn it is

std::string UnrulyClients::run(std::span<const Action> actions) {
    return UnrulyClients(actions).runAll();
}

UnrulyClients::UnrulyClients(std::span<const Action> actions) : left_(actions) {
    for (std::size_t client = 0; client < TestClients::count; ++client) {
        clients_.onCall[client] = [this, client] { answerCall(client); };
    }
}

std::string UnrulyClients::runAll() {
    Headless::reset();
    Headless::sendMessage(kzrxEntryPoint, KzRx::loadMessage);
    kzDocManagerPtr()->addReactor(&neighbour_);
    openDrawing({});
    while (!left_.empty() && complaint_.empty()) {
        actOnce();
        std::erase_if(drawings_, [](const auto& drawing) { return !isAnyOpen(drawing); });
    }
    finish();
    return complaint_;
}

void UnrulyClients::actOnce() {
    if (left_.empty()) return;
    const Action action = left_.front();
    left_ = left_.subspan(1);
    ++figures.actions;
    if (depth_ != 0) ++figures.inCallbacks;
    // Every other action is an edit.
    if (action.kind % 2 == 0) return editDrawing(action);
    (this->*pick(deeds, static_cast<std::uint8_t>(action.kind / 2)))(action);
}

void UnrulyClients::answerCall(std::size_t client) {
    ++figures.callbacks;
    const bool isOurs = std::ranges::any_of(attached_, [client](const auto& attachment) {
        return attachment.second == TestClients::client(client) && Headless::isOpen(attachment.first);
    });
    if (!isOurs) complaint_ = "a client was called that no open document has";
    answer(1 + client % 3);
}

void UnrulyClients::answer(std::size_t count) {
    if (depth_ == deepestNesting) return;
    ++depth_;
    while (count-- > 0) actOnce();
    --depth_;
}

void UnrulyClients::finish() {
    left_ = {};
    for (const auto& drawing : drawings_) drawing->letGo();
    unloadModule();
    // What the host refused before is left now, also when the module was unloaded by then.
    refuseNothing();
    unloadModule();
    kzDocManagerPtr()->removeReactor(&neighbour_);
    if (const std::string leftovers = leftoversInHost(); !leftovers.empty()) {
        complaint_ += "left in the host: " + leftovers;
    }
    Headless::reset();
}

void UnrulyClients::unloadModule() {
    Headless::sendMessage(kzrxEntryPoint, KzRx::unloadMessage);
    attached_.clear();
}

// ---- what an action names

/// Any document, closed ones too unless the host does not tell which they are.
KzApDocument* UnrulyClients::anyDocument(std::uint8_t byte) const {
    if (byte == 0) return nullptr;
    // Where there is most to do, half of the time.
    std::vector<KzApDocument*> known;
    if (byte % 2 == 0) known = opened_;
    for (const auto& drawing : drawings_) known.push_back(drawing->document);
    if (!isHostListing())
        std::erase_if(known, [](KzApDocument* document) { return !Headless::isOpen(document); });
    return pick(known, byte / 2);
}

KzDxClientCallback UnrulyClients::anyClient(std::uint8_t byte) {
    return byte == 0 ? nullptr : TestClients::client(byte % TestClients::count);
}

/// Records of the document mostly; among them null, a made-up id, records of other documents, and an id of
/// whatever object there is or was.
KzDbObjectIdArray UnrulyClients::anyIds(const KzApDocument* document, std::uint8_t count,
                                        std::uint8_t first) {
    std::vector<KzDbObjectId> known = Headless::records(document);
    known.insert(known.end(), {KzDbObjectId(), KzDbObjectId(~std::uint64_t{0}), KzDbObjectId(first)});
    for (const KzApDocument* const each : Headless::documents()) known.push_back(Headless::modelSpace(each));
    KzDbObjectIdArray ids;
    for (int number = 0; number < count % 8; ++number) {
        ids.append(pick(known, static_cast<std::uint8_t>(first + 5 * number)));
    }
    return ids;
}

// ---- the actions

const std::vector<UnrulyClients::Deed> UnrulyClients::deeds{
    &UnrulyClients::attachTimer,    &UnrulyClients::attachTimer,
    &UnrulyClients::detachTimer,    &UnrulyClients::attachMonitor,
    &UnrulyClients::attachMonitor,  &UnrulyClients::attachMonitor,
    &UnrulyClients::detachMonitor,  &UnrulyClients::updateGraph,
    &UnrulyClients::updateGraph,    &UnrulyClients::updateGraph,
    &UnrulyClients::askForTables,   &UnrulyClients::readNoTemplate,
    &UnrulyClients::openDrawing,    &UnrulyClients::openWithoutDrawing,
    &UnrulyClients::closeDocument,  &UnrulyClients::makeCurrent,
    &UnrulyClients::pump,           &UnrulyClients::rest,
    &UnrulyClients::rest,           &UnrulyClients::rest,
    &UnrulyClients::rest,           &UnrulyClients::passTime,
    &UnrulyClients::runCommand,     &UnrulyClients::runCommand,
    &UnrulyClients::reportLockMode, &UnrulyClients::postAnything,
    &UnrulyClients::disturb,        &UnrulyClients::disturb,
    &UnrulyClients::load,           &UnrulyClients::load,
    &UnrulyClients::load,           &UnrulyClients::unload,
};

void UnrulyClients::editDrawing(const Action& action) {
    if (drawings_.empty()) return;
    RandomDrawing& drawing = *drawings_[action.kind / 2 % 4 % drawings_.size()];
    // Six bits say which edit, two which drawing.
    const auto kind = static_cast<std::uint8_t>(action.kind / 8);
    drawing.apply({.kind = kind, .first = action.a, .second = action.b, .how = action.c});
}

void UnrulyClients::attachTimer(const Action& action) {
    static const std::vector<std::uint32_t> intervals{0, 0, 0, 10, 10, 1000, 1000, 0x8000'0000};
    KzApDocument* const document = anyDocument(action.a);
    const KzDxClientCallback client = anyClient(action.b);
    if (kzdxDocTimerAttach(document, client, pick(intervals, action.c), 1) == 1)
        attached_.emplace(document, client);
}

void UnrulyClients::detachTimer(const Action& action) {
    kzdxDocTimerAttach(anyDocument(action.a), anyClient(action.b), action.c, 0);
}

void UnrulyClients::attachMonitor(const Action& action) {
    KzApDocument* const document = anyDocument(action.a);
    const KzDbObjectIdArray ids = anyIds(document, static_cast<std::uint8_t>(action.c / 32), action.c);
    const KzDxClientCallback client = anyClient(action.b);
    if (kzdxBlockReferenceMonitorAttach(document, action.c == 0 ? nullptr : &ids, client) == 1)
        attached_.emplace(document, client);
}

void UnrulyClients::detachMonitor(const Action& action) {
    KzApDocument* const document = anyDocument(action.a);
    kzdxBlockReferenceMonitorDetach(document, anyClient(action.b));
}

void UnrulyClients::updateGraph(const Action& action) {
    KzApDocument* const document = anyDocument(action.a);
    kzdxUpdateBlockGraph(document, action.b % 2 == 0, action.c % 2 == 0);
}

void UnrulyClients::askForTables(const Action& action) {
    KzDbObjectIdArray ids = anyIds(nullptr, action.c, 0);
    kzdxGetBlockRecordIdsOfKzDbTables(anyDocument(action.a), action.c == 0 ? nullptr : &ids);
    kzdxGetKzDbTableIds(anyDocument(action.b), &ids);
}

void UnrulyClients::readNoTemplate(const Action& action) {
    std::vector<std::u16string> blocks{u"old"};
    std::vector<std::u16string> attributes{u"old"};
    kzdxReadLegacyBlkTemplate(action.a % 2 == 0 ? u"" : u"/nowhere/no.blk", blocks, attributes);
    if (!blocks.empty() || !attributes.empty()) complaint_ = "a template that is not there has names";
}

void UnrulyClients::openDrawing(const Action& action) {
    if (std::ranges::count_if(drawings_, isAnyOpen) >= static_cast<std::ptrdiff_t>(mostDrawings)) return;
    drawings_.push_back(std::make_unique<RandomDrawing>(action.a));
}

void UnrulyClients::openWithoutDrawing(const Action& action) {
    if (action.a % 4 == 0) Headless::openDocument(u"without", false);
}

void UnrulyClients::closeDocument(const Action& action) {
    if (action.b % 2 == 0) return; // there should be something left to do
    Headless::closeDocument(anyDocument(action.a));
}

void UnrulyClients::makeCurrent(const Action& action) {
    Headless::makeCurrent(anyDocument(action.a));
}

void UnrulyClients::pump(const Action&) {
    Headless::pump();
}

void UnrulyClients::rest(const Action& action) {
    if (action.a % 2 == 0) Headless::makeCurrent(anyDocument(action.b));
    if (action.a / 2 % 4 != 0) calmDown();
    Headless::advance(std::uint32_t{action.c} * 8);
    Headless::idle();
}

void UnrulyClients::passTime(const Action& action) {
    if (action.a % 2 == 0) return Headless::advance(std::uint32_t{action.b} * action.c);
    Headless::setTicks(0xFFFF'FFFF - action.b); // the count is about to wrap around
}

void UnrulyClients::runCommand(const Action&) {
    KzApDocument* const document = Headless::beginCommand(u"EDIT");
    actOnce();
    actOnce();
    Headless::endCommand(document, u"EDIT");
    Headless::pump();
}

void UnrulyClients::reportLockMode(const Action& action) {
    static const std::vector<const char16_t*> commands{nullptr, u"", u"#", u"EDIT", u"#EDIT"};
    Headless::reportLockMode(anyDocument(action.a), pick(commands, action.b));
}

void UnrulyClients::postAnything(const Action& action) {
    const std::vector<std::uint32_t> numbers{KzPlatform::registerWindowMessage(u"WM_KZDX_IDLE_CHECK"), 0,
                                             action.b};
    // Documents that were closed too: only their addresses count.
    const auto address = reinterpret_cast<std::uintptr_t>(pick(opened_, action.b));
    Headless::post(pick(numbers, action.a), action.c == 0 ? action.b : address, action.c);
}

// Ends what `disturb` has begun.
void UnrulyClients::calmDown() {
    refuseNothing();
    Headless::setInputWaiting(false);
    Headless::documentState(Headless::currentDocument()) = {.lockMode = KzAp::DocLockMode{2}};
}

// The host is busy, refuses something, or does no longer.
void UnrulyClients::disturb(const Action& action) {
    const bool isDisturbed = action.a % 2 == 0;
    Headless::DocumentState& state = Headless::documentState(anyDocument(action.c));
    switch (action.b % 9) {
    case 0:
        Headless::setInputWaiting(isDisturbed);
        break;
    case 1:
        state.isReady = !isDisturbed;
        break;
    case 2:
        state.busy = isDisturbed ? 1 : 0;
        break;
    case 3:
        state.lockMode = KzAp::DocLockMode{isDisturbed ? 1 : 2};
        break;
    case 4:
        state.isListed = !isDisturbed;
        break;
    default:
        Headless::refuse(pick(refusable, action.b), isDisturbed);
    }
}

void UnrulyClients::load(const Action&) {
    Headless::sendMessage(kzrxEntryPoint, KzRx::loadMessage); // refused when it is loaded already
}

void UnrulyClients::unload(const Action& action) {
    if (action.a % 4 == 0) unloadModule();
}
