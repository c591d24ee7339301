#include "timers/external_client_timer_reactor.h"

#include "core/boundary.h"
#include "core/scope_guard.h"
#include "timers/timer.h"

KzDxExternalClientTimerReactor::~KzDxExternalClientTimerReactor() {
    // Without a timer there is nothing to detach from.
    static_cast<void>(KzDxExternalClientTimerReactor::setEnabled(false));
}

Orvo::ErrorStatus KzDxExternalClientTimerReactor::setEnabled(bool enable) {
    if (timer_ == nullptr) return Orvo::missingCollaborator;
    if (enable) {
        static_cast<void>(timer_->attach(this)); // only fails for null; has no effect if attached
    } else {
        timer_->detach(this);
    }
    // A failure is not reported: the next switching on retries.
    static_cast<void>(timer_->setEnabled(enable));
    storeEnabled(enable);
    return Orvo::ok;
}

// Switched on by the first client and off by the last, so that a timer without callbacks does not run.
Orvo::ErrorStatus KzDxExternalClientTimerReactor::attach(KzDxClientCallback callback) {
    const Orvo::ErrorStatus status = KzDxNotifierBase::attach(callback);
    if (status != Orvo::ok || isEnabled()) return status;
    KzDxScopeGuard undo([&] { KzDxNotifierBase::detach(callback); });
    const Orvo::ErrorStatus switched = setEnabled(true);
    undo.dismiss();
    return switched;
}

void KzDxExternalClientTimerReactor::detach(KzDxClientCallback callback) {
    KzDxNotifierBase::detach(callback);
    if (isEnabled() && targets().isEmpty()) static_cast<void>(setEnabled(false)); // it is on: it has a timer
}

void KzDxExternalClientTimerReactor::timerElapsed() {
    if (!isEnabled()) return;
    targets().callEach(KzDxCallSet<KzDxClientCallback>::Next::chosenAfterCall,
                       [](KzDxClientCallback callback) { kzdxAtBoundary(callback); });
}
