#pragma once

#include "core/notifier_base.h"
#include "timers/timer_reactor.h"
#include "zelvane/zelvane.h"

class KzDxTimer;

/// Passes the notifications of a document's client timer on to the callbacks of outside clients.
///
/// Switched on while it has callbacks; with it the timer runs. A callback may do anything, see `KzDxCallSet`:
/// the callback after the one that is called is chosen when that has returned.
class KzDxExternalClientTimerReactor : public KzDxNotifierBase<KzDxClientCallback>, public KzDxTimerReactor {
public:
    /// `timer` is borrowed and must outlive the reactor.
    explicit KzDxExternalClientTimerReactor(KzDxTimer* timer) : timer_(timer) {}

    /// Detaches from the timer and switches it off. No callback is called.
    ~KzDxExternalClientTimerReactor() override;

    /// Attaches to the timer and switches it on, or the reverse; a failure of the timer is not reported.
    /// `missingCollaborator` without a timer.
    Orvo::ErrorStatus setEnabled(bool enable) override;

    /// Adds a callback; with the first one, switches on and returns the status of `setEnabled`.
    Orvo::ErrorStatus attach(KzDxClientCallback callback) override;

    /// Removes a callback; with the last one, switches off.
    void detach(KzDxClientCallback callback) override;

    /// Calls every callback once, in ascending order of address.
    void timerElapsed() override;

private:
    KzDxTimer* timer_;
};
