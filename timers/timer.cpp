#include "timers/timer.h"

#include "frame/boundary.h"
#include "frame/document.h"
#include "host/platform.h"
#include "timers/cmd_line_hook.h"

KzDxTimer::KzDxTimer(KzDxDocument* owner, std::uint32_t interval) : owner_(owner), interval_(interval) {
    KzDxTimer::restart();
    ++timerCount_;
}

KzDxTimer::~KzDxTimer() {
    if (--timerCount_ == 0) kzdxAtBoundary([] { KzDxCmdLineHook::instance().setEnabled(false); });
    if (KzDxTimer::isEnabled() && owner_ != nullptr) owner_->runningTimers().erase(this);
}

Orvo::ErrorStatus KzDxTimer::setEnabled(bool enable) {
    if (enable) KzDxCmdLineHook::instance().setEnabled(true);
    if (enable == isEnabled()) return Orvo::ok;
    if (owner_ == nullptr) return Orvo::missingCollaborator;
    if (enable) {
        owner_->runningTimers().insert(this);
    } else {
        owner_->runningTimers().erase(this);
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
    const std::uint32_t elapsed = KzPlatform::tickCount() - startTick_;
    if (elapsed < interval_) return;
    const KzDxLife::Watch watch(life_);
    fire();
    if (watch.isOver()) return;
    if (repeat_) {
        restart();
    } else {
        setEnabled(false);
    }
}

void KzDxTimer::setInterval(std::int32_t interval) {
    interval_ = interval < 0 ? 0 : static_cast<std::uint32_t>(interval);
}
