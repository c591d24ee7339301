#pragma once

/// @file
/// Timers that call a function while a document is idle.

#include "zelvane/attachment.h"
#include "zelvane/document_client.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <utility>

namespace Zelvane {

namespace Kit ZELVANE_OWN {

/// The implementation of an attached timer.
class IdleReceiver : public TimerReceiver,
                     public detail::Attachment,
                     public std::enable_shared_from_this<IdleReceiver> {
public:
    using Function = std::function<void()>;

    IdleReceiver(std::shared_ptr<DocumentClient> client, std::uint32_t interval)
        : client_(std::move(client)), interval_(interval) {}
    ~IdleReceiver() override { IdleReceiver::detach(); }

    [[nodiscard]] Status start() {
        const Status status = client_->add(*this);
        isAdded_ = status == Status::ok;
        return status;
    }
    void setFunction(Function function) { function_ = std::move(function); }

    [[nodiscard]] std::uint32_t remaining() const noexcept override {
        const std::uint32_t elapsed = isRunning_ ? 0 : detail::tickCount() - start_;
        return elapsed < interval_ ? interval_ - elapsed : 0;
    }
    /// Calls do not nest. Ignores an exception of the function, because no exception may leave a callback.
    void call() noexcept override {
        if (isRunning_ || remaining() != 0) return;
        const auto keptAlive = shared_from_this();
        isRunning_ = true;
        try {
            if (function_) function_();
        } catch (...) { // NOLINT(bugprone-empty-catch)
        }
        isRunning_ = false;
        start_ = detail::tickCount();
    }

    [[nodiscard]] bool isAttached() const noexcept override {
        return client_ != nullptr && client_->isAttached();
    }
    void end() noexcept override { IdleReceiver::detach(); }
    void detach() noexcept override {
        const std::shared_ptr<DocumentClient> client = std::exchange(client_, nullptr);
        if (client != nullptr && isAdded_) client->remove(*this);
    }

private:
    std::shared_ptr<DocumentClient> client_; ///< null when detached
    std::uint32_t interval_;
    std::uint32_t start_ = detail::tickCount(); ///< of the current interval
    Function function_;
    bool isAdded_ = false;
    bool isRunning_ = false;
};

} // namespace ZELVANE_OWN

/// Calls a function object while a document is idle, from `attach` until `detach` or its destruction.
///
///     Zelvane::IdleTimer timer;
///     const Zelvane::Status status = timer.attach(document, 60000, [] { save(); });
///
/// Each timer has its own interval. Zelvane has one interval for all callbacks of a document, including
/// those of other modules: the one that was passed last. The kit passes the time until its next timer is
/// due, so callbacks of other modules may be called more often than at their own interval.
///
/// For what the function may do, and what ends or interrupts a timer, see `BlockWatch`. Calls do not nest:
/// if the function runs the message loop, calls during this time are skipped.
class IdleTimer {
public:
    /// The signature of the function. Move-only function objects can be attached too.
    using Function = std::function<void()>;

    /// A new timer is not attached. Moving transfers the attachment; that of the target ends.
    /// @{
    ZELVANE_OWN IdleTimer() = default;
    ZELVANE_OWN IdleTimer(IdleTimer&&) noexcept = default;
    ZELVANE_OWN IdleTimer& operator=(IdleTimer&&) noexcept = default;
    ZELVANE_OWN ~IdleTimer() = default;
    /// @}

    /// Attaches a function. It is called at each idle check at which at least `interval` milliseconds have
    /// passed since its last call returned, at first since it was attached. 0 means every idle check. See
    /// `Status`.
    template <class F>
    ZELVANE_OWN Status attach(KzApDocument* document, std::uint32_t interval, F&& function) {
        const auto start = [](Kit::IdleReceiver& made) { return made.start(); };
        return attachment_.attach<Kit::IdleReceiver>(document, std::forward<F>(function), start, interval);
    }

    /// Ends the timer: the function is no longer called. Has no effect if the timer is not attached.
    ZELVANE_OWN void detach() { attachment_.reset(); }

    /// Whether the function is called. False if the timer is not attached, the document is closed, or
    /// Zelvane is not loaded.
    [[nodiscard]] ZELVANE_OWN bool isAttached() const { return attachment_.isAttached(); }

private:
    detail::AttachmentOwner attachment_;
};

} // namespace Zelvane
