#include "timers/cmd_line_hook.h"

#include "frame/boundary.h"
#include "host/editor.h"
#include "timers/idle_check.h"

void KzDxCmdLineHook::dispose(KzDxCmdLineHook* hook) noexcept {
    if (hook != nullptr) hook->departure_.begin(hook);
}

KzDxCmdLineHook::~KzDxCmdLineHook() {
    static_cast<void>(leaveHost());
}

bool KzDxCmdLineHook::leaveHost() noexcept {
    return kzdxAtBoundary(Orvo::filterRefused, [this] { return KzDxCmdLineHook::setEnabled(false); }) ==
           Orvo::ok;
}

Orvo::ErrorStatus KzDxCmdLineHook::setEnabled(bool enable) {
    if (enable == isEnabled()) return Orvo::ok;
    if (!(enable ? registerFilter() : removeFilter())) return Orvo::filterRefused;
    storeEnabled(enable);
    return Orvo::ok;
}

bool KzDxCmdLineHook::registerFilter() {
    if (kzedRegisterFilterWinMsg(kzdxIdleCheckFilter) == 0) return false;
    ++enabledHooks_;
    return true;
}

bool KzDxCmdLineHook::removeFilter() {
    if (enabledHooks_ == 1 && kzedRemoveFilterWinMsg(kzdxIdleCheckFilter) == 0) return false;
    --enabledHooks_;
    return true;
}
