#pragma once

/// @file
/// To be called while a document is idle.

#include "zelvane/receiver.h"

#include <cstdint>
#include <functional>
#include <utility>

namespace Zelvane {

namespace detail {

/// A timer while it is attached.
class IdleReceiver final : public Receiver {
public:
    using Function = std::function<void()>;

    IdleReceiver(KzApDocument* document, std::uint32_t interval, Function function)
        : Receiver(Kind::timer, document), interval_(interval), function_(std::move(function)) {}

    [[nodiscard]] Status attach() {
        if (!zelvane().areFound()) return Status::notLoaded;
        isAttached_ = zelvane().kzdxDocTimerAttach(document(), function(), interval_, 1) == 1;
        return isAttached_ ? Status::ok : Status::refused;
    }

private:
    /// Whatever is passed here holds for all who stay.
    void detach() override {
        if (!isAttached_) return;
        const auto* const other = static_cast<const IdleReceiver*>(latestOther());
        const std::uint32_t interval = other != nullptr ? other->interval_ : interval_;
        zelvane().kzdxDocTimerAttach(document(), function(), interval, 0);
    }

    /// No exception may leave a callback: one of the function ends there.
    void call() noexcept override try {
        if (!isInsideItself()) function_();
    } catch (...) { // NOLINT(bugprone-empty-catch)
    }

    std::uint32_t interval_;
    Function function_;
    bool isAttached_ = false;
};

} // namespace detail

/// Calls a function object while a document is idle, from `attach` until `detach` or its destruction.
///
///     Zelvane::IdleTimer timer;
///     const Zelvane::Status status = timer.attach(document, 60000, [] { save(); });
///
/// All timers of a document share one interval, those of other modules too: the one that was given last.
/// When a timer is detached, the interval of the one attached last among the others of this module holds
/// again.
///
/// What the function may do, and what ends the calls, is as with `BlockWatch`. It is not called inside
/// itself: when it runs the message loop, it is passed over until it has returned.
class IdleTimer {
public:
    /// What is called.
    using Function = detail::IdleReceiver::Function;

    /// Calls `function` at idle checks at which at least `interval` milliseconds have passed since the last
    /// calls ended, at first since the first timer of the document; 0: at every idle check. A timer that is
    /// attached stays as it is: `alreadyAttached`.
    Status attach(KzApDocument* document, std::uint32_t interval, Function function) {
        return detail::statusOf([&] {
            if (isAttached()) return Status::alreadyAttached;
            if (!function) return Status::noFunction;
            if (!isOpen(document) || document->database() == nullptr) return Status::noDocument;
            detail::ReceiverOwner<detail::IdleReceiver> made(
                new detail::IdleReceiver(document, interval, std::move(function)));
            const Status status = made->attach();
            if (status == Status::ok) receiver_ = std::move(made);
            return status;
        });
    }

    /// Ends it: the function is not called any more. Fine when nothing is attached.
    void detach() { receiver_.reset(); }

    /// Whether it runs for a document that is open.
    [[nodiscard]] bool isAttached() const { return receiver_ != nullptr && isOpen(receiver_->document()); }

private:
    detail::ReceiverOwner<detail::IdleReceiver> receiver_;
};

} // namespace Zelvane
