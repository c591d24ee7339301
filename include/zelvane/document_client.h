#pragma once

/// @file
/// The watches and timers of a library for one document.

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
    std::uint32_t number; ///< the number of the block in the document
    bool isCertain;       ///< whether it must have changed: other candidates do not explain all its callbacks
};

/// The interface of a watch for its document.
class WatchReceiver {
public:
    WatchReceiver() = default;
    WatchReceiver(const WatchReceiver&) = delete;
    WatchReceiver& operator=(const WatchReceiver&) = delete;
    virtual ~WatchReceiver() = default;

    /// Marks the candidates that are watched; they are in ascending order. Does not allocate.
    virtual void mark(std::span<const Candidate> candidates) noexcept = 0;
    /// Marks all blocks as to be read again. Does not allocate.
    virtual void markUnread() noexcept = 0;
    /// Called after a round: reports the marked blocks. May attach, detach and destroy watches and timers.
    virtual void call() noexcept = 0;
    /// Leaves its document.
    virtual void detach() noexcept = 0;
};

/// The interface of a timer for its document.
class TimerReceiver {
public:
    TimerReceiver() = default;
    TimerReceiver(const TimerReceiver&) = delete;
    TimerReceiver& operator=(const TimerReceiver&) = delete;
    virtual ~TimerReceiver() = default;

    /// Milliseconds until the timer is due.
    [[nodiscard]] virtual std::uint32_t remaining() const noexcept = 0;
    /// Calls the function if the timer is due. May attach, detach and destroy watches and timers.
    virtual void call() noexcept = 0;
    /// Leaves its document.
    virtual void detach() noexcept = 0;
};

/// The state of this library for one document: the blocks of all watches, numbered for the superimposed
/// code, and the timers, which share one plain function. Owned by its receivers; destroyed with the last
/// one.
///
/// A block keeps its number after its last watch was detached, until the document has no watch, because
/// Zelvane detaches a callback only from all blocks of a document at once.
///
/// Classes that use the kit's state have virtual destructors and are not final, because smart pointers of
/// the standard library may be merged across libraries and must not call the destructor of another library.
class DocumentClient : public std::enable_shared_from_this<DocumentClient> {
public:
    /// The client of an open document that has a drawing; created if necessary. May throw std::bad_alloc.
    [[nodiscard]] static std::shared_ptr<DocumentClient> of(KzApDocument* document);

    explicit DocumentClient(KzApDocument* document);
    DocumentClient(const DocumentClient&) = delete;
    DocumentClient& operator=(const DocumentClient&) = delete;
    virtual ~DocumentClient();

    [[nodiscard]] KzApDocument* document() const { return document_; }
    [[nodiscard]] const KzDbDatabase* drawing() const { return drawing_; }
    /// Whether the document is open.
    [[nodiscard]] bool isAlive() const { return isOpen(document_) && document_->database() == drawing_; }
    /// Whether Zelvane calls this client. If Zelvane was unloaded and loaded again, attaches everything
    /// again first.
    [[nodiscard]] bool isAttached() noexcept;

    // ---- watches
    void add(WatchReceiver& watch) { watches_.add(&watch); }
    void remove(WatchReceiver& watch) noexcept;
    /// Attaches blocks for all watches of the document, and appends their numbers in the same order. May
    /// throw std::bad_alloc. A failure has no effect.
    [[nodiscard]] Status attach(std::span<const KzDbObjectId> blocks, std::vector<std::uint32_t>& numbers);
    /// The number of a block; nothing if it has none.
    [[nodiscard]] std::optional<std::uint32_t> numberOf(KzDbObjectId block) const;
    /// Whether Zelvane is loaded, for a watch without blocks.
    [[nodiscard]] Status probe() const {
        return failure() == Status::notLoaded ? Status::notLoaded : Status::ok;
    }

    /// The number of edits of the block table, for example new blocks. Counting begins with the first call.
    [[nodiscard]] std::uint64_t tableChanges();

    // ---- timers
    /// May throw std::bad_alloc. A failure has no effect.
    [[nodiscard]] Status add(TimerReceiver& timer);
    void remove(TimerReceiver& timer) noexcept;

    // ---- calls from Zelvane
    static void closeRound(std::size_t slot) noexcept;
    static void callTimers(std::size_t slot) noexcept;
    /// Called after a command of the document: attaches the blocks that Zelvane does not know.
    static void endCommand(const KzApDocument* document) noexcept;
    /// Ends all watches and timers of this library, so that it can be closed.
    static void detachAll() noexcept;

private:
    /// Changes when Zelvane is unloaded or loaded; may also change for other reasons.
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

    /// Whether a round of calls continues: a function may have closed the document or unloaded Zelvane.
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
    bool isLost_ = false; ///< Zelvane was unloaded, and not everything is attached again
    bool isDue_ = false;
    DocumentClient* next_; ///< in the list of all clients

    std::vector<KzDbObjectId> blocks_;    ///< by number
    std::size_t settled_ = 0;             ///< Zelvane may not know blocks from this number on
    std::size_t commandsSinceAttach_ = 0; ///< counted while a block is not settled
    std::unordered_map<KzDbObjectId, std::uint32_t> numbers_;
    SuperimposedCode::Called usedCallbacks_; ///< callbacks to which blocks are attached
    std::vector<Candidate> candidates_;      ///< reserved for all blocks, because marking must not allocate
    CallList<WatchReceiver*> watches_;

    BlockTableReactorOwner table_;

    CallList<TimerReceiver*> timers_;
    std::uint32_t askedInterval_ = 0;
};

/// The list of all clients.
inline constinit DocumentClient* firstClient = nullptr;

/// Is notified of the end of commands, after which documents become idle. Registered with the document
/// manager while there are clients.
class CommandReactor final : public KzApDocManagerReactor {
public:
    void documentLockModeChanged(KzApDocument* document, KzAp::DocLockMode, KzAp::DocLockMode,
                                 KzAp::DocLockMode, const char16_t* command) override {
        if (command != nullptr && *command == u'#') DocumentClient::endCommand(document);
    }

    /// Adds or removes the reactor as required. False if there is no document manager.
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

/// Ends all receivers before the process ends, because Zelvane and the host may be destroyed before static
/// objects of this library. Must be called after Zelvane was loaded, because functions that are registered
/// last are called first.
inline void detachAllAtExit() {
    static_cast<void>(std::atexit([] { DocumentClient::detachAll(); }));
}

inline std::shared_ptr<DocumentClient> DocumentClient::of(KzApDocument* document) {
    if (firstClient == nullptr) detachAllAtExit();
    for (DocumentClient* each = firstClient; each != nullptr; each = each->next_) {
        if (each->document_ == document && each->isAlive()) return each->shared_from_this();
    }
    // std::make_shared adds a symbol that keeps the library in memory.
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

/// The slot with the fewest documents.
inline std::size_t DocumentClient::freeSlot() {
    std::array<std::size_t, documentSlots> users{};
    for (const DocumentClient* each = firstClient; each != nullptr; each = each->next_) ++users[each->slot_];
    return static_cast<std::size_t>(std::ranges::min_element(users) - users.begin());
}

inline Status DocumentClient::failure() const {
    const bool isLoaded = exports_.isAvailable() && kzrxServiceIsRegistered(u"Zelvane");
    return isLoaded ? Status::failed : Status::notLoaded;
}

/// The service shows that Zelvane was unloaded; the number of library changes shows that it was also loaded
/// again. Attaching again has no effect on blocks that are attached.
inline bool DocumentClient::isAttached() noexcept try {
    if (!isAlive()) return false;
    const Generation now = currentGeneration();
    if (now == generation_ && !isLost_) return true;
    if (generation_.isRegistered && !now.isRegistered) isLost_ = true;
    if (isLost_ && !now.isRegistered) return false;
    const bool hasTimers = timers_.size() != 0;
    if (!attachBlocksFrom(0) || (hasTimers && !schedule())) return false;
    if (isLost_) watches_.callEach([](WatchReceiver* watch) { watch->markUnread(); }); // edits were missed
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

/// Calls `call(client)` for each client of a slot. Marks the clients first and finds the next marked one
/// after each call, so calls may create and destroy clients.
template <class Call>
void DocumentClient::callEach(std::size_t slot, Call call) noexcept {
    for (DocumentClient* each = firstClient; each != nullptr; each = each->next_) {
        each->isDue_ = each->slot_ == slot;
    }
    const auto callOne = [&](DocumentClient& client) {
        const auto keptAlive = client.shared_from_this(); // until the call has returned
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
    // Marks all of them before any function is called, so that no change is lost if a document cannot be
    // reported now.
    for (DocumentClient* each = firstClient; each != nullptr; each = each->next_) {
        if (each->slot_ == slot) each->markCalled(called);
    }
    callEach(slot, [](DocumentClient& client) {
        client.watches_.callEach([&](WatchReceiver* watch) {
            if (client.isCalled()) watch->call();
        });
    });
}

/// Decodes the callbacks that were called. A candidate is certain if one of its callbacks belongs to no
/// other candidate.
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
        static_cast<void>(schedule()); // on failure the interval is too short, or the calls end
    } else {
        const KzDxClientCallback callback = callTable().function(Role::timer, slot_);
        exports_.kzdxDocTimerAttach(document_, callback, askedInterval_, 0);
    }
}

inline std::uint32_t DocumentClient::remaining() {
    // Zelvane treats larger values as negative.
    std::uint32_t shortest = std::numeric_limits<std::int32_t>::max();
    timers_.callEach([&](const TimerReceiver* timer) { shortest = std::min(shortest, timer->remaining()); });
    return shortest;
}

/// Sets the interval to the time until the next timer is due.
inline bool DocumentClient::schedule() {
    askedInterval_ = remaining();
    const KzDxClientCallback callback = callTable().function(Role::timer, slot_);
    return exports_.kzdxDocTimerAttach(document_, callback, askedInterval_, 1) == 1;
}

/// If documents share a plain function, only the timers of the current document are called, because it is
/// the idle one.
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

/// Zelvane ignores blocks that were defined since its last update. It knows them after the next command, so
/// they are attached again then.
inline void DocumentClient::settle() noexcept try {
    if (settled_ == blocks_.size() || ++commandsSinceAttach_ < 2) return;
    if (attachBlocksFrom(settled_)) settled_ = blocks_.size();
} catch (const std::bad_alloc&) { // retried after the next command
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
    // Reactors that the host may still call must stay in memory.
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
