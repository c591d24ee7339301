#include "timers/cmd_line_hook.h"

#include "host/editor.h"
#include "timers/idle_check.h"

#include <cassert>

std::optional<KzDxCmdLineHook> KzDxCmdLineHook::instance_;
std::uint32_t KzDxCmdLineHook::useCount_ = 0;
bool KzDxCmdLineHook::isFilterLeft_ = false;

KzDxCmdLineHook::Use::Use() {
    // A hook always begins switched off: what the host did with the filter of an earlier one is not known.
    if (useCount_++ == 0) instance_.emplace();
}

KzDxCmdLineHook::Use::~Use() {
    assert(useCount_ > 0);
    if (--useCount_ != 0) return;
    // In this order: a filter is left only by a hook that has ended.
    instance_.reset();
    removeLeftFilter();
}

KzDxCmdLineHook::~KzDxCmdLineHook() {
    if (isEnabled()) isFilterLeft_ = true; // removed by whoever ends the hook, and if need be later
}

void KzDxCmdLineHook::removeLeftFilter() noexcept {
    if (!isFilterLeft_ || instance_) return; // a hook of now removes the filter itself
    isFilterLeft_ = kzedRemoveFilterWinMsg(kzdxIdleCheckFilter) == 0;
}

Orvo::ErrorStatus KzDxCmdLineHook::setEnabled(bool enable) {
    if (enable == isEnabled()) return Orvo::ok;
    const int accepted =
        enable ? kzedRegisterFilterWinMsg(kzdxIdleCheckFilter) : kzedRemoveFilterWinMsg(kzdxIdleCheckFilter);
    if (accepted == 0) return Orvo::filterRefused;
    storeEnabled(enable);
    return Orvo::ok;
}
