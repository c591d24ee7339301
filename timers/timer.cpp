#include "timers/timer.h"

#include "host/platform.h"

#include <algorithm>
#include <cassert>

KzDxTimer::KzDxTimer(RunningTimers* runningTimers, std::uint32_t interval)
    : runningTimers_(runningTimers), interval_(interval) {
    KzDxTimer::restart();
}

KzDxTimer::~KzDxTimer() {
    if (KzDxTimer::isEnabled()) runningTimers_->erase(this);
}

Orvo::ErrorStatus KzDxTimer::setEnabled(bool enable) {
    assert(KzDxCmdLineHook::instance() != nullptr);
    // Tried at every switching on, also of a running timer, so that the next one retries after a failure.
    if (enable) static_cast<void>(KzDxCmdLineHook::instance()->setEnabled(true));
    if (enable == isEnabled()) return Orvo::ok;
    if (runningTimers_ == nullptr) return Orvo::missingCollaborator;
    if (enable) {
        runningTimers_->insert(this);
    } else {
        runningTimers_->erase(this);
    }
    storeEnabled(enable);
    return Orvo::ok;
}

void KzDxTimer::fire() {
    targets().callEach(KzDxCallSet<KzDxTimerReactor*>::Next::chosenBeforeCall,
                       [](KzDxTimerReactor* receiver) { receiver->timerElapsed(); });
}

void KzDxTimer::restart() {
    startTick_ = KzPlatform::tickCount();
}

void KzDxTimer::checkElapsed() {
    if (!isEnabled()) return;
    // In 32 bits, so that the difference is correct even if the tick count has wrapped around.
    const std::uint32_t elapsed = KzPlatform::tickCount() - startTick_;
    if (elapsed < interval_) return;
    const KzDxLife::Watch watch(life_); // a receiver may destroy this timer
    fire();
    if (watch.isDestroyed()) return;
    if (repeat_) {
        restart();
    } else {
        static_cast<void>(setEnabled(false)); // cannot fail: a running timer has `runningTimers`
    }
}

void KzDxTimer::setInterval(std::int32_t interval) {
    interval_ = static_cast<std::uint32_t>(std::max(interval, 0));
}
