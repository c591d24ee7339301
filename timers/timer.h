#pragma once

#include "core/life.h"
#include "core/notifier_base.h"
#include "timers/cmd_line_hook.h"
#include "timers/timer_reactor.h"

#include <cstdint>

/// Tells its receivers that an interval has passed, at the first idle check of its document after that.
///
/// A timer has no clock of its own: while it is switched on, it is among the running timers of its document,
/// and each idle check asks them whether they are due. The interval is thus a lower bound, and 0 means every
/// idle check. The first interval counts from the timer's construction. Ticks are 32-bit milliseconds and may
/// wrap around.
///
/// The virtual operations are called by slot: their order is fixed.
///
/// A receiver may attach and detach receivers, switch the timer, and destroy it.
///
/// The first timer makes the command-line hook, which brings the idle checks, and each one that is switched
/// on switches it on; the last timer to go ends it.
class KzDxTimer final : public KzDxNotifierBase<KzDxTimerReactor*> {
public:
    using RunningTimers = KzDxCallSet<KzDxTimer*>;

    /// Joins `runningTimers` while switched on; they are borrowed and outlive the timer. `interval` is in
    /// milliseconds.
    KzDxTimer(RunningTimers* runningTimers, std::uint32_t interval);
    ~KzDxTimer() override;

    /// Joins or leaves the running timers; does not restart the interval. Switching on registers the filter
    /// that sees the idle checks, if it is not yet registered; when the host refuses that, the timer runs and
    /// waits for the next switching on of any timer to try again. `missingCollaborator` without running
    /// timers to join, with nothing changed.
    Orvo::ErrorStatus setEnabled(bool enable) override;

    /// Notifies every receiver now, in ascending order of address. The next receiver is chosen before each
    /// call.
    virtual void fire();

    /// Starts the interval afresh.
    virtual void restart();

    /// Whether the timer goes on after it has fired (as it does at first) or switches itself off. Both keep
    /// their slots: every timer here repeats.
    [[nodiscard]] virtual bool isRepeating() const { return repeat_; }
    virtual void setRepeating(bool repeat) { repeat_ = repeat; }

    /// Fires when the timer is running and due. The next interval starts when the receivers have returned.
    virtual void checkElapsed();

    [[nodiscard]] virtual std::uint32_t interval() const { return interval_; }
    /// A negative interval becomes 0.
    virtual void setInterval(std::int32_t interval);

private:
    KzDxCmdLineHook::Ref hook_;
    RunningTimers* runningTimers_;
    std::uint32_t interval_;
    std::uint32_t startTick_ = 0;
    bool repeat_ = true;
    KzDxLife life_;
};
