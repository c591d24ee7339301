#pragma once

/// @file
/// All that a library has attached to one document.

#include "host/services.h"
#include "zelvane/block_table_reactor.h"
#include "zelvane/call_list.h"
#include "zelvane/call_table.h"
#include "zelvane/client.h"
#include "zelvane/drawing.h"
#include "zelvane/status.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Zelvane { // NOLINT(modernize-concat-nested-namespaces): only one of them has the attribute
namespace Kit ZELVANE_OWN {

/// A block that may have changed.
struct Candidate {
    std::uint32_t number; ///< its number in the document
    bool isCertain;       ///< no other blocks can be the reason for all of its callbacks
};

/// A watch as its document sees it.
class WatchReceiver {
public:
    WatchReceiver() = default;
    WatchReceiver(const WatchReceiver&) = delete;
    WatchReceiver& operator=(const WatchReceiver&) = delete;
    virtual ~WatchReceiver() = default;

    /// Marks those of the candidates (in ascending order) that are watched. Does not allocate.
    virtual void mark(std::span<const Candidate> candidates) noexcept = 0;
    /// Marks all blocks: they have to be read again. Does not allocate.
    virtual void markUnread() noexcept = 0;
    /// A round is over: reports what is marked. May do anything to watches and timers.
    virtual void call() noexcept = 0;
    /// Leaves its document.
    virtual void detach() noexcept = 0;
};

/// A timer as its document sees it.
class TimerReceiver {
public:
    TimerReceiver() = default;
    TimerReceiver(const TimerReceiver&) = delete;
    TimerReceiver& operator=(const TimerReceiver&) = delete;
    virtual ~TimerReceiver() = default;

    /// Milliseconds until it is due.
    [[nodiscard]] virtual std::uint32_t remaining() const noexcept = 0;
    /// Calls its function if it is due. May do anything to watches and timers.
    virtual void call() noexcept = 0;
    /// Leaves its document.
    virtual void detach() noexcept = 0;
};

/// One document as this library uses it: the blocks of all its watches, numbered for the superimposed code,
/// and its timers, which share one plain function. Owned by its receivers; ends with the last one.
///
/// Zelvane removes a callback only from all blocks of a document at once. So a block keeps its number after
/// its last watch was detached, until the document has no watch left.
///
/// Destructors of what touches the kit's state are virtual, and their classes are not final: smart pointers
/// of the standard library can be merged across libraries, and must not call the destructor of another one.
class DocumentClient : public std::enable_shared_from_this<DocumentClient> {
public:
    /// The client of an open document that has a drawing, made if needed. Throws std::bad_alloc.
    [[nodiscard]] static std::shared_ptr<DocumentClient> of(KzApDocument* document);

    explicit DocumentClient(KzApDocument* document);
    DocumentClient(const DocumentClient&) = delete;
    DocumentClient& operator=(const DocumentClient&) = delete;
    virtual ~DocumentClient();

    [[nodiscard]] KzApDocument* document() const { return document_; }
    [[nodiscard]] const KzDbDatabase* drawing() const { return drawing_; }
    /// Whether the document is open.
    [[nodiscard]] bool isAlive() const { return isOpen(document_) && document_->database() == drawing_; }
    /// Whether Zelvane calls this client. After Zelvane was unloaded and loaded again, all is attached again.
    [[nodiscard]] bool isAttached() noexcept;

    // ---- watches
    void add(WatchReceiver& watch) { watches_.add(&watch); }
    void remove(WatchReceiver& watch) noexcept;
    /// Attaches blocks for all watches of the document, and appends their numbers in the same order. Throws
    /// std::bad_alloc. A failure changes nothing.
    [[nodiscard]] Status attach(std::span<const KzDbObjectId> blocks, std::vector<std::uint32_t>& numbers);
    /// The number of a block; nothing when it has none.
    [[nodiscard]] std::optional<std::uint32_t> numberOf(KzDbObjectId block) const;
    /// Whether Zelvane is there for a watch without blocks.
    [[nodiscard]] Status probe() const {
        return failure() == Status::notLoaded ? Status::notLoaded : Status::ok;
    }

    /// Grows with each edit of the block table, new blocks among them; counting begins with the first call.
    [[nodiscard]] std::uint64_t tableChanges();

    // ---- timers
    /// Throws std::bad_alloc. A failure changes nothing.
    [[nodiscard]] Status add(TimerReceiver& timer);
    void remove(TimerReceiver& timer) noexcept;

    // ---- calls from Zelvane
    static void closeRound(std::size_t slot) noexcept;
    static void callTimers(std::size_t slot) noexcept;
    /// A command of the document has ended: attaches again what Zelvane does not know (any more).
    static void endCommand(const KzApDocument* document) noexcept;
    /// Ends all watches and timers of this library, which may be closed next.
    static void detachAll() noexcept;

private:
    /// Different after Zelvane was unloaded, and perhaps without a reason.
    struct Generation {
        bool isRegistered = false;
        std::uint64_t libraryChanges = 0;
        bool operator==(const Generation&) const = default;
    };
    [[nodiscard]] static Generation currentGeneration() {
        return {kzrxServiceIsRegistered(u"Zelvane"), detail::libraryChanges()};
    }

    [[nodiscard]] static std::size_t freeSlot();
    template <class Call>
    static void callEach(std::size_t slot, Call call) noexcept;

    /// Whether a round of calls goes on: a function may have closed the document or unloaded Zelvane.
    [[nodiscard]] bool isCalled() const {
        return isAlive() && (!generation_.isRegistered || kzrxServiceIsRegistered(u"Zelvane"));
    }
    [[nodiscard]] Status failure() const;
    [[nodiscard]] bool attachBlocksFrom(std::size_t firstNumber);
    [[nodiscard]] bool attach(Role role, std::size_t number, const KzDbObjectIdArray& blocks);
    void settle() noexcept;
    void detachBlocks() noexcept;
    void forgetBlocksFrom(std::size_t firstNumber) noexcept;
    void markCalled(const std::optional<SuperimposedCode::Called>& called) noexcept;
    [[nodiscard]] std::uint32_t remaining();
    [[nodiscard]] bool schedule();

    KzDxExports exports_;
    KzApDocument* document_;
    const KzDbDatabase* drawing_;
    std::size_t slot_;
    Generation generation_ = currentGeneration();
    bool isLost_ = false; ///< Zelvane was unloaded, and not all is attached again
    bool isDue_ = false;
    DocumentClient* next_; ///< in the list of all clients

    std::vector<KzDbObjectId> blocks_;    ///< by number
    std::size_t settled_ = 0;             ///< from this number on, Zelvane may not know them
    std::size_t commandsSinceAttach_ = 0; ///< counted while some block is not settled
    std::unordered_map<KzDbObjectId, std::uint32_t> numbers_;
    SuperimposedCode::Called usedCallbacks_; ///< those that some block is attached to
    std::vector<Candidate> candidates_;      ///< has room for all blocks, so that marking does not allocate
    CallList<WatchReceiver*> watches_;

    BlockTableReactorOwner table_;

    CallList<TimerReceiver*> timers_;
    std::uint32_t askedInterval_ = 0;
};

/// The list of all clients.
inline constinit DocumentClient* firstClient = nullptr;

/// Hears of the end of commands, after which documents become idle. In the document manager's list while
/// there are clients.
class CommandReactor final : public KzApDocManagerReactor {
public:
    void documentLockModeChanged(KzApDocument* document, KzAp::DocLockMode, KzAp::DocLockMode,
                                 KzAp::DocLockMode, const char16_t* command) override {
        if (command != nullptr && *command == u'#') DocumentClient::endCommand(document);
    }

    /// Adds or removes the one reactor, as it is needed. False if the document manager cannot be reached.
    static bool update() noexcept {
        static CommandReactor* added = nullptr;
        const bool isNeeded = firstClient != nullptr;
        KzApDocManager* const manager = kzDocManagerPtr();
        if (isNeeded == (added != nullptr)) return true;
        if (manager == nullptr) return false;
        if (isNeeded) {
            added = new (std::nothrow) CommandReactor;
            if (added != nullptr) manager->addReactor(added);
        } else {
            manager->removeReactor(added);
            delete std::exchange(added, nullptr);
        }
        return true;
    }
};

/// Lets all receivers end before the process does: when objects with static storage are destroyed, Zelvane
/// and the host may be gone. What is registered last is called first, so this is done after Zelvane was
/// loaded.
inline void detachAllAtExit() {
    static_cast<void>(std::atexit([] { DocumentClient::detachAll(); }));
}

inline std::shared_ptr<DocumentClient> DocumentClient::of(KzApDocument* document) {
    if (firstClient == nullptr) detachAllAtExit();
    for (DocumentClient* each = firstClient; each != nullptr; each = each->next_) {
        if (each->document_ == document && each->isAlive()) return each->shared_from_this();
    }
    // std::make_shared brings in a symbol that keeps the library in memory.
    return std::shared_ptr<DocumentClient>(new DocumentClient(document)); // NOLINT(modernize-make-shared)
}

inline DocumentClient::DocumentClient(KzApDocument* document)
    : document_(document),
      drawing_(document->database()),
      slot_(freeSlot()),
      next_(std::exchange(firstClient, this)) {
    CommandReactor::update();
}

inline DocumentClient::~DocumentClient() {
    callRounds.forget(slot_);
    DocumentClient** link = &firstClient;
    while (*link != this) link = &(*link)->next_;
    *link = next_;
    CommandReactor::update();
}

/// A slot that no other document uses, if there is one.
inline std::size_t DocumentClient::freeSlot() {
    std::array<std::size_t, documentSlots> users{};
    for (const DocumentClient* each = firstClient; each != nullptr; each = each->next_) ++users[each->slot_];
    return static_cast<std::size_t>(std::ranges::min_element(users) - users.begin());
}

inline Status DocumentClient::failure() const {
    const bool isLoaded = exports_.isAvailable() && kzrxServiceIsRegistered(u"Zelvane");
    return isLoaded ? Status::failed : Status::notLoaded;
}

/// That Zelvane was unloaded shows by its service; that it was also loaded again, by the number of libraries
/// that came and went. Attaching what is attached has no effect.
inline bool DocumentClient::isAttached() noexcept try {
    if (!isAlive()) return false;
    const Generation now = currentGeneration();
    if (now == generation_ && !isLost_) return true;
    if (generation_.isRegistered && !now.isRegistered) isLost_ = true;
    if (isLost_ && !now.isRegistered) return false;
    const bool hasTimers = timers_.size() != 0;
    if (!attachBlocksFrom(0) || (hasTimers && !schedule())) return false;
    if (isLost_) watches_.callEach([](WatchReceiver* watch) { watch->markUnread(); }); // edited unnoticed
    isLost_ = false;
    generation_ = now;
    detachAllAtExit();
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

inline void DocumentClient::remove(WatchReceiver& watch) noexcept {
    watches_.remove(&watch);
    if (watches_.size() != 0) return;
    detachBlocks();
    table_.reset();
}

inline std::optional<std::uint32_t> DocumentClient::numberOf(KzDbObjectId block) const {
    const auto at = numbers_.find(block);
    return at != numbers_.end() ? std::optional(at->second) : std::nullopt;
}

inline std::uint64_t DocumentClient::tableChanges() {
    if (table_ == nullptr) table_.reset(new BlockTableReactor);
    return table_->changes(*drawing_);
}

inline Status DocumentClient::attach(std::span<const KzDbObjectId> blocks,
                                     std::vector<std::uint32_t>& numbers) {
    const std::size_t known = blocks_.size();
    const auto undo = [&] {
        forgetBlocksFrom(known);
        return failure();
    };
    try {
        numbers.reserve(numbers.size() + blocks.size());
        for (const KzDbObjectId block : blocks) {
            const auto next = static_cast<std::uint32_t>(blocks_.size());
            const auto [at, isNew] = numbers_.try_emplace(block, next);
            if (isNew) blocks_.push_back(block);
            numbers.push_back(at->second);
        }
        candidates_.reserve(blocks_.size());
        commandsSinceAttach_ = 0;
        return attachBlocksFrom(known) ? Status::ok : undo();
    } catch (...) {
        static_cast<void>(undo());
        throw;
    }
}

/// Attaches the blocks from a number on to the callbacks of their codes.
inline bool DocumentClient::attachBlocksFrom(std::size_t firstNumber) {
    if (firstNumber == blocks_.size()) return true;
    KzDbObjectIdArray all;
    std::vector<KzDbObjectIdArray> byCallback(SuperimposedCode::callbacks);
    for (std::size_t number = firstNumber; number < blocks_.size(); ++number) {
        all.append(blocks_[number]);
        for (std::size_t row = 0; row < SuperimposedCode::rows; ++row) {
            byCallback[SuperimposedCode::callback(number, row)].append(blocks_[number]);
        }
    }
    bool isDone = attach(Role::opensRound, slot_, all);
    for (std::size_t callback = 0; isDone && callback < byCallback.size(); ++callback) {
        if (!byCallback[callback].isEmpty()) isDone = attach(Role::code, callback, byCallback[callback]);
    }
    return isDone && attach(Role::closesRound, slot_, all);
}

inline bool DocumentClient::attach(Role role, std::size_t number, const KzDbObjectIdArray& blocks) {
    if (role == Role::code) usedCallbacks_.set(number);
    const KzDxClientCallback callback = callTable().function(role, number);
    return exports_.kzdxBlockReferenceMonitorAttach(document_, &blocks, callback) == 1;
}

inline void DocumentClient::forgetBlocksFrom(std::size_t firstNumber) noexcept {
    std::erase_if(numbers_, [&](const auto& entry) { return entry.second >= firstNumber; });
    blocks_.resize(std::min(firstNumber, blocks_.size()));
    settled_ = std::min(settled_, blocks_.size());
    if (blocks_.empty()) detachBlocks();
}

inline void DocumentClient::detachBlocks() noexcept {
    blocks_.clear();
    numbers_.clear();
    settled_ = 0;
    const auto detach = [&](Role role, std::size_t number) {
        exports_.kzdxBlockReferenceMonitorDetach(document_, callTable().function(role, number));
    };
    if (usedCallbacks_.none()) return;
    for (std::size_t callback = 0; callback < SuperimposedCode::callbacks; ++callback) {
        if (usedCallbacks_[callback]) detach(Role::code, callback);
    }
    usedCallbacks_.reset();
    detach(Role::opensRound, slot_);
    detach(Role::closesRound, slot_);
}

/// Calls `call(client)` for each client of a slot. Marks them first and looks for the next marked one each
/// time, so calls may make and destroy clients.
template <class Call>
void DocumentClient::callEach(std::size_t slot, Call call) noexcept {
    for (DocumentClient* each = firstClient; each != nullptr; each = each->next_) {
        each->isDue_ = each->slot_ == slot;
    }
    const auto callOne = [&](DocumentClient& client) {
        const auto keptAlive = client.shared_from_this(); // until the call has returned, and no longer
        call(client);
    };
    DocumentClient* client = firstClient;
    while (client != nullptr) {
        const bool isDue = std::exchange(client->isDue_, false);
        if (isDue) callOne(*client);
        client = isDue ? firstClient : client->next_;
    }
}

inline void DocumentClient::closeRound(std::size_t slot) noexcept {
    const auto called = callRounds.close(slot);
    // All of them before any function is called: a document that cannot be reported now is marked at least.
    for (DocumentClient* each = firstClient; each != nullptr; each = each->next_) {
        if (each->slot_ == slot) each->markCalled(called);
    }
    callEach(slot, [](DocumentClient& client) {
        client.watches_.callEach([&](WatchReceiver* watch) {
            if (client.isCalled()) watch->call();
        });
    });
}

/// Decodes what was called. A candidate is certain if one of its callbacks belongs to no other candidate.
inline void DocumentClient::markCalled(const std::optional<SuperimposedCode::Called>& called) noexcept {
    candidates_.clear();
    std::array<std::uint32_t, SuperimposedCode::callbacks> users{};
    const auto forEachCallback = [](std::uint32_t number, auto use) {
        for (std::size_t row = 0; row < SuperimposedCode::rows; ++row) {
            use(SuperimposedCode::callback(number, row));
        }
    };
    const auto all = SuperimposedCode::Called().set();
    SuperimposedCode::forEachCovered(called.value_or(all), blocks_.size(), [&](std::size_t covered) {
        const auto number = static_cast<std::uint32_t>(covered);
        candidates_.push_back({number, false});
        forEachCallback(number, [&](std::size_t callback) { ++users[callback]; });
    });
    for (Candidate& each : candidates_) {
        forEachCallback(each.number, [&](std::size_t callback) {
            if (called.has_value() && users[callback] == 1) each.isCertain = true;
        });
    }
    watches_.callEach([&](WatchReceiver* watch) { watch->mark(candidates_); });
}

inline Status DocumentClient::add(TimerReceiver& timer) {
    timers_.add(&timer);
    if (schedule()) return Status::ok;
    timers_.remove(&timer);
    return failure();
}

inline void DocumentClient::remove(TimerReceiver& timer) noexcept {
    timers_.remove(&timer);
    if (timers_.size() != 0) {
        static_cast<void>(schedule()); // a failure leaves an interval that is too short, or calls that end
    } else {
        const KzDxClientCallback callback = callTable().function(Role::timer, slot_);
        exports_.kzdxDocTimerAttach(document_, callback, askedInterval_, 0);
    }
}

inline std::uint32_t DocumentClient::remaining() {
    // Larger values are negative for Zelvane.
    std::uint32_t shortest = std::numeric_limits<std::int32_t>::max();
    timers_.callEach([&](const TimerReceiver* timer) { shortest = std::min(shortest, timer->remaining()); });
    return shortest;
}

/// Asks to be called when the next timer is due.
inline bool DocumentClient::schedule() {
    askedInterval_ = remaining();
    const KzDxClientCallback callback = callTable().function(Role::timer, slot_);
    return exports_.kzdxDocTimerAttach(document_, callback, askedInterval_, 1) == 1;
}

/// A function that documents share is called for each of them: the one that is idle is the current one.
inline void DocumentClient::callTimers(std::size_t slot) noexcept {
    callEach(slot, [](DocumentClient& client) {
        client.timers_.callEach([&](TimerReceiver* timer) {
            if (client.document_ == currentDocument() && client.isCalled()) timer->call();
        });
        const bool isNextKnown = client.timers_.size() == 0 || client.remaining() == client.askedInterval_;
        if (!isNextKnown) static_cast<void>(client.schedule());
    });
}

inline void DocumentClient::endCommand(const KzApDocument* document) noexcept {
    for (DocumentClient* each = firstClient; each != nullptr; each = each->next_) {
        if (each->document_ == document && each->isAttached()) each->settle();
    }
}

/// Zelvane skips blocks that it does not know yet: those that were defined since its last update. After the
/// next command it knows them.
inline void DocumentClient::settle() noexcept try {
    if (settled_ == blocks_.size() || ++commandsSinceAttach_ < 2) return;
    if (attachBlocksFrom(settled_)) settled_ = blocks_.size();
} catch (const std::bad_alloc&) { // the next command tries again
}

inline void DocumentClient::detachAll() noexcept {
    auto client = firstClient != nullptr ? firstClient->shared_from_this() : nullptr;
    while (client != nullptr) {
        client->watches_.callEach([](WatchReceiver* watch) { watch->detach(); });
        client->timers_.callEach([](TimerReceiver* timer) { timer->detach(); });
        client = client->next_ != nullptr ? client->next_->shared_from_this() : nullptr;
    }
    client.reset();
    BlockTableReactor::removeStranded();
    // What the host may still call has to stay in memory.
    const bool isLeft = CommandReactor::update() && !BlockTableReactor::isAnyStranded();
    if (!isLeft) detail::keepLibraryOf(&firstClient);
}

inline void callSlot(std::size_t slot) noexcept {
    const auto [role, number] = callTable().meaning(slot);
    switch (role) {
    case Role::opensRound:
        return callRounds.open(number);
    case Role::code:
        return callRounds.note(number);
    case Role::closesRound:
        return DocumentClient::closeRound(number);
    case Role::timer:
        return DocumentClient::callTimers(number);
    }
}

} // namespace ZELVANE_OWN
} // namespace Zelvane
