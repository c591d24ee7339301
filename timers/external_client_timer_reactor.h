#pragma once

#include "core/notifier_base.h"
#include "timers/timer_reactor.h"
#include "zelvane/zelvane.h"

class KzDxTimer;

/// Forwards the notifications of a document's client timer to the callbacks of outside clients.
///
/// The reactor and the timer are switched on while there are callbacks. Callbacks may re-enter, see
/// `KzDxCallSet`: the next callback is chosen after the current one has returned.
class KzDxExternalClientTimerReactor : public KzDxNotifierBase<KzDxClientCallback>, public KzDxTimerReactor {
public:
    /// `timer` is borrowed and must outlive the reactor.
    explicit KzDxExternalClientTimerReactor(KzDxTimer* timer) : timer_(timer) {}

    /// Detaches from the timer and switches it off. No callback is called.
    ~KzDxExternalClientTimerReactor() override;

    /// Attaches to the timer and switches it on, or detaches and switches it off. A failure of the timer is
    /// not reported. `missingCollaborator` without a timer.
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
