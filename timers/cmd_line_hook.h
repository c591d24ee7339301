#pragma once

#include "frame/enable_base.h"

/// Registers the idle-check filter with the host's message loop while it is switched on. One exists while
/// there are timers.
class KzDxCmdLineHook : public KzDxEnableBase {
public:
    KzDxCmdLineHook() = default;
    /// Removes the filter if it is registered.
    ~KzDxCmdLineHook() override;

    /// Registers or removes the filter. `filterRefused` when the host refuses, with nothing changed.
    Orvo::ErrorStatus setEnabled(bool enable) override;
};
