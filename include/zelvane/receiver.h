#pragma once

/// @file
/// What watches and timers are made of.

#include "zelvane/client.h"
#include "zelvane/drawing.h"
#include "zelvane/status.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

// State that each module has for itself. Where symbols are merged across libraries, it takes a mark:
// otherwise two clients in one process would share it, and none of them could leave memory.
/// @cond
#define ZELVANE_OF_THIS_MODULE KZ_HIDDEN
/// @endcond

/// What watches and timers are made of. Clients use `BlockWatch` and `IdleTimer`.
namespace Zelvane::detail {

class Receiver;

/// How many plain functions there are for each kind of receiver.
inline constexpr std::size_t seatsOfKind = 128;
/// The receivers behind each plain function, as lists.
ZELVANE_OF_THIS_MODULE inline constinit std::array<Receiver*, 2 * seatsOfKind> seats{};
/// The walks over such lists that are under way, innermost first.
struct Walk {
    Receiver* next;
    Walk* outer;
};
ZELVANE_OF_THIS_MODULE inline constinit Walk* innermostWalk = nullptr;
/// How many receivers there have been.
ZELVANE_OF_THIS_MODULE inline constinit std::uint64_t receiverCount = 0;

/// Somebody whom Zelvane reaches through a plain function, although a plain function carries no data.
///
/// Each receiver takes a seat: a plain function of this module that nobody else uses. When all are taken,
/// several share one, and each is called when any of them is meant.
///
/// Whatever a call does, the walk over a seat holds: it keeps the receiver that comes next, and who leaves
/// moves that on. Who joins sits in front of the walk and is not called by it. Deferred deletion: a receiver
/// that leaves while it is being called is deleted when the call has returned, so its function object and
/// what that has captured stay whole until then.
class Receiver {
public:
    /// The kinds never share a seat: their calls come from different places.
    enum class Kind : std::size_t { watch, timer };

    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    /// Ends it: it is not called any more. Deletes the receiver, now or after the call that is under way.
    void leave() noexcept {
        if (!sharesSeatOnDocument()) detach();
        for (Walk* walk = innermostWalk; walk != nullptr; walk = walk->outer) {
            if (walk->next == this) walk->next = next_;
        }
        Receiver** link = &seats[seat_];
        while (*link != this) link = &(*link)->next_;
        *link = next_;
        hasLeft_ = true;
        if (calls_ == 0) delete this;
    }

    [[nodiscard]] KzApDocument* document() const { return document_; }

    /// What the plain function of a seat does.
    static void callSeat(std::size_t seat) noexcept {
        Walk walk{seats[seat], innermostWalk};
        innermostWalk = &walk;
        while (walk.next != nullptr) std::exchange(walk.next, walk.next->next_)->receive();
        innermostWalk = walk.outer;
    }

protected:
    Receiver(Kind kind, KzApDocument* document)
        : document_(document), number_(++receiverCount), seat_(freeSeat(kind)), next_(seats[seat_]) {
        seats[seat_] = this;
    }
    virtual ~Receiver() = default;

    /// Called through the plain function; may end this receiver.
    virtual void call() = 0;
    /// Takes the plain function back from Zelvane.
    virtual void detach() = 0;

    [[nodiscard]] const KzDxExports& zelvane() const { return zelvane_; }
    [[nodiscard]] KzDxClientCallback function() const;
    [[nodiscard]] bool hasLeft() const { return hasLeft_; }
    /// Whether a call of this receiver is under way, not counting the innermost one.
    [[nodiscard]] bool isInsideItself() const { return calls_ > 1; }

    /// The other receiver of the same seats and document that joined last; null when there is none.
    [[nodiscard]] const Receiver* latestOther() const {
        const std::size_t first = seat_ - seat_ % seatsOfKind;
        const Receiver* latest = nullptr;
        for (std::size_t seat = first; seat < first + seatsOfKind; ++seat) {
            for (const Receiver* each = seats[seat]; each != nullptr; each = each->next_) {
                const bool isOther = each != this && each->document_ == document_;
                if (isOther && (latest == nullptr || each->number_ > latest->number_)) latest = each;
            }
        }
        return latest;
    }

private:
    void receive() {
        ++calls_;
        if (isOpen(document_)) call();
        if (--calls_ == 0 && hasLeft_) delete this;
    }

    /// A callback that is detached leaves all blocks of its document, so it stays while others need it.
    [[nodiscard]] bool sharesSeatOnDocument() const {
        const Receiver* each = seats[seat_];
        while (each != nullptr && (each == this || each->document_ != document_)) each = each->next_;
        return each != nullptr;
    }

    /// Seats are taken in turn: one that has become free may still be called by a round under way.
    [[nodiscard]] static std::size_t freeSeat(Kind kind) {
        const std::size_t first = static_cast<std::size_t>(kind) * seatsOfKind;
        const std::size_t start = receiverCount % seatsOfKind;
        for (std::size_t step = 0; step < seatsOfKind; ++step) {
            const std::size_t seat = first + (start + step) % seatsOfKind;
            if (seats[seat] == nullptr) return seat;
        }
        return first + start;
    }

    KzDxExports zelvane_;
    KzApDocument* document_;
    std::uint64_t number_;
    std::size_t seat_;
    Receiver* next_;
    std::size_t calls_ = 0;
    bool hasLeft_ = false;
};

template <std::size_t seat>
ZELVANE_OF_THIS_MODULE void plainFunction() {
    Receiver::callSeat(seat);
}

template <std::size_t... all>
constexpr std::array<KzDxClientCallback, sizeof...(all)> plainFunctions(std::index_sequence<all...> /*all*/) {
    return {plainFunction<all>...};
}

/// The plain functions by seat.
ZELVANE_OF_THIS_MODULE inline constexpr auto functionOfSeat =
    plainFunctions(std::make_index_sequence<2 * seatsOfKind>());

inline KzDxClientCallback Receiver::function() const {
    return functionOfSeat[seat_];
}

/// Ends a receiver instead of deleting it.
struct Leave {
    void operator()(Receiver* receiver) const noexcept { receiver->leave(); }
};
template <class T>
using ReceiverOwner = std::unique_ptr<T, Leave>;

/// Runs what attaches: a lack of memory is a status as well.
template <class Work>
[[nodiscard]] Status statusOf(Work work) noexcept {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return Status::refused;
    }
}

} // namespace Zelvane::detail
