#pragma once

#include "frame/enable_base.h"

/// Registers the idle-check filter with the host's message loop while it is switched on: from the first timer
/// that runs until the last timer goes.
///
/// There is one, which needs no memory. When the host refuses to remove the filter it stays switched on, and
/// the next occasion tries again: the last timer's end, the unloading, and the end of the library.
class KzDxCmdLineHook : public KzDxEnableBase {
public:
    [[nodiscard]] static KzDxCmdLineHook& instance() { return instance_; }

    /// Removes the filter if it is registered.
    ~KzDxCmdLineHook() override;

    /// Registers or removes the filter. `filterRefused` when the host refuses, with nothing changed.
    Orvo::ErrorStatus setEnabled(bool enable) override;

private:
    KzDxCmdLineHook() = default;

    static KzDxCmdLineHook instance_;
};
