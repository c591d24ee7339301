#include "timers/cmd_line_hook.h"

#include "host/editor.h"
#include "timers/idle_check.h"

KzDxCmdLineHook KzDxCmdLineHook::instance_;

KzDxCmdLineHook::~KzDxCmdLineHook() {
    if (isEnabled()) static_cast<void>(kzedRemoveFilterWinMsg(kzdxIdleCheckFilter));
}

Orvo::ErrorStatus KzDxCmdLineHook::setEnabled(bool enable) {
    if (enable == isEnabled()) return Orvo::ok;
    const int accepted =
        enable ? kzedRegisterFilterWinMsg(kzdxIdleCheckFilter) : kzedRemoveFilterWinMsg(kzdxIdleCheckFilter);
    if (accepted == 0) return Orvo::filterRefused;
    storeEnabled(enable);
    return Orvo::ok;
}
