#pragma once

#include "frame/notifier_base.h"
#include "timers/timer_reactor.h"

#include <cstdint>

class KzDxDocument;

/// Tells its receivers that an interval has passed, at the first idle check of its document after that.
///
/// A timer has no clock of its own: while it is switched on, it is among its document's running timers, and
/// each idle check asks it whether it is due. The interval is thus a lower bound, and 0 means every idle
/// check. The first interval counts from the timer's construction. Ticks are 32-bit milliseconds and may wrap
/// around.
///
/// The virtual operations are called by slot: their order is fixed.
///
/// A receiver may attach and detach receivers, switch the timer, and destroy it.
///
/// The first timer that runs switches on the command-line hook, which brings the idle checks; the last timer
/// to go switches it off.
class KzDxTimer : public KzDxNotifierBase<KzDxTimerReactor*> {
public:
    /// `owner` is the record whose running timers this one joins; borrowed. `interval` is in milliseconds.
    KzDxTimer(KzDxDocument* owner, std::uint32_t interval);
    ~KzDxTimer() override;

    /// Joins or leaves the owner's running timers; does not restart the interval. Switching on registers the
    /// filter that sees the idle checks, if it is not yet registered; when the host refuses that, the timer
    /// runs and waits for the next switching on of any timer to try again. `missingCollaborator` without an
    /// owner, with nothing changed.
    Orvo::ErrorStatus setEnabled(bool enable) override;

    /// Notifies every receiver now, in ascending order of address. The next receiver is chosen before each
    /// call.
    virtual void fire();

    /// Starts the interval afresh.
    virtual void restart();

    /// Whether the timer goes on after it has fired (as it does at first) or switches itself off.
    [[nodiscard]] virtual bool isRepeating() const { return repeat_; }
    virtual void setRepeating(bool repeat) { repeat_ = repeat; }

    /// Fires when the timer is running and due. The next interval starts when the receivers have returned.
    virtual void checkElapsed();

    [[nodiscard]] virtual std::uint32_t interval() const { return interval_; }
    /// A negative interval becomes 0.
    virtual void setInterval(std::int32_t interval);

private:
    static inline std::uint32_t timerCount_ = 0;

    KzDxDocument* owner_;
    std::uint32_t interval_;
    std::uint32_t startTick_ = 0;
    bool repeat_ = true;
    KzDxLife life_;
};
