#include "timers/cmd_line_hook.h"

#include "host/editor.h"
#include "timers/idle_check.h"

#include <cassert>

std::optional<KzDxCmdLineHook> KzDxCmdLineHook::instance_;
std::uint32_t KzDxCmdLineHook::refCount_ = 0;
bool KzDxCmdLineHook::isFilterOrphaned_ = false;

KzDxCmdLineHook::Ref::Ref() {
    // A hook is always created switched off, because it is unknown whether the host still has the filter of
    // an earlier hook.
    if (refCount_++ == 0) instance_.emplace();
}

KzDxCmdLineHook::Ref::~Ref() {
    assert(refCount_ > 0);
    if (--refCount_ != 0) return;
    // In this order: only a hook that was destroyed leaves an orphaned filter.
    instance_.reset();
    removeOrphanedFilter();
}

KzDxCmdLineHook::~KzDxCmdLineHook() {
    if (isEnabled()) isFilterOrphaned_ = true; // removed by the last `Ref`, or later
}

void KzDxCmdLineHook::removeOrphanedFilter() noexcept {
    if (!isFilterOrphaned_ || instance_) return; // the current hook removes the filter
    isFilterOrphaned_ = kzedRemoveFilterWinMsg(kzdxIdleCheckFilter) == 0;
}

Orvo::ErrorStatus KzDxCmdLineHook::setEnabled(bool enable) {
    if (enable == isEnabled()) return Orvo::ok;
    const int accepted =
        enable ? kzedRegisterFilterWinMsg(kzdxIdleCheckFilter) : kzedRemoveFilterWinMsg(kzdxIdleCheckFilter);
    if (accepted == 0) return Orvo::filterRefused;
    storeEnabled(enable);
    return Orvo::ok;
}
