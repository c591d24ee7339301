#include "timers/timer.h"

#include "host/platform.h"

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
    // Tried at every switching on, also of a timer that runs; a refusal is made up for by the next one.
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
    // In 32 bits, so that it also holds when the tick count has wrapped around in between.
    const std::uint32_t elapsed = KzPlatform::tickCount() - startTick_;
    if (elapsed < interval_) return;
    const KzDxLife::Watch watch(life_); // a receiver may destroy this timer
    fire();
    if (watch.isDestroyed()) return;
    if (repeat_) {
        restart();
    } else {
        static_cast<void>(setEnabled(false)); // it runs, so it has running timers to leave
    }
}

void KzDxTimer::setInterval(std::int32_t interval) {
    interval_ = interval < 0 ? 0 : static_cast<std::uint32_t>(interval);
}
