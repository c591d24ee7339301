#include "timers/external_client_timer_reactor.h"

#include "frame/boundary.h"
#include "frame/rollback.h"
#include "timers/timer.h"

KzDxExternalClientTimerReactor::~KzDxExternalClientTimerReactor() {
    KzDxExternalClientTimerReactor::setEnabled(false);
}

Orvo::ErrorStatus KzDxExternalClientTimerReactor::setEnabled(bool enable) {
    if (timer_ == nullptr) return Orvo::missingCollaborator;
    if (!enable) {
        timer_->detach(this);
    } else if (!isEnabled()) {
        timer_->attach(this);
    }
    timer_->setEnabled(enable);
    storeEnabled(enable);
    return Orvo::ok;
}

Orvo::ErrorStatus KzDxExternalClientTimerReactor::attach(KzDxClientCallback callback) {
    const Orvo::ErrorStatus status = KzDxNotifierBase::attach(callback);
    if (status != Orvo::ok || isEnabled()) return status;
    KzDxRollback undo([&] { KzDxNotifierBase::detach(callback); });
    const Orvo::ErrorStatus switched = setEnabled(true);
    undo.keep();
    return switched;
}

void KzDxExternalClientTimerReactor::detach(KzDxClientCallback callback) {
    KzDxNotifierBase::detach(callback);
    if (isEnabled() && targets().isEmpty()) setEnabled(false);
}

void KzDxExternalClientTimerReactor::timerElapsed() {
    if (!isEnabled()) return;
    targets().callEach(KzDxCallSet<KzDxClientCallback>::Next::chosenAfterCall,
                       [](KzDxClientCallback callback) { kzdxAtBoundary(callback); });
}
