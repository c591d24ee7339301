#pragma once

#include "core/life.h"
#include "core/notifier_base.h"
#include "timers/cmd_line_hook.h"
#include "timers/timer_reactor.h"

#include <cstdint>

/// Notifies its receivers when an interval has passed, at the next idle check of its document.
///
/// While a timer is switched on, it is one of the running timers of its document, which each idle check
/// tests. The interval is thus a minimum; 0 means every idle check. The first interval begins at
/// construction. Ticks are 32-bit milliseconds and may wrap around.
///
/// The virtual operations are called by slot: their order is fixed.
///
/// A receiver may attach and detach receivers, switch the timer on and off, and destroy it.
///
/// The first timer creates the command-line hook, which receives the idle checks. Each timer that is
/// switched on switches the hook on. The last timer that is destroyed destroys the hook.
class KzDxTimer final : public KzDxNotifierBase<KzDxTimerReactor*> {
public:
    using RunningTimers = KzDxCallSet<KzDxTimer*>;

    /// `runningTimers` is borrowed and must outlive the timer, which is in this set while it is switched
    /// on. `interval` is in milliseconds.
    KzDxTimer(RunningTimers* runningTimers, std::uint32_t interval);
    ~KzDxTimer() override;

    /// Adds the timer to the running timers or removes it; does not restart the interval. Switching on
    /// registers the filter for idle checks, if it is not registered yet. If the host call fails, the timer
    /// runs, and the next switching on of any timer retries. `missingCollaborator`, without effect, if
    /// there is no set of running timers.
    Orvo::ErrorStatus setEnabled(bool enable) override;

    /// Notifies every receiver immediately, in ascending order of address. The next receiver is chosen
    /// before each call.
    virtual void fire();

    /// Restarts the interval.
    virtual void restart();

    /// Whether the timer continues after it has fired (the default) or switches itself off. Not called:
    /// every timer of the module repeats.
    [[nodiscard]] virtual bool isRepeating() const { return repeat_; }
    virtual void setRepeating(bool repeat) { repeat_ = repeat; }

    /// Notifies the receivers if the timer is running and due. The next interval begins when they have
    /// returned.
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
