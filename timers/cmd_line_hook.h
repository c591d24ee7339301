#pragma once

#include "core/enable_base.h"

#include <cstdint>
#include <optional>

/// Registers the idle-check filter with the host's message loop while it is switched on.
///
/// There is one while there are timers: the first one makes it, switched off, and the last one ends it.
/// Nothing else switches it off. It needs no memory.
class KzDxCmdLineHook : public KzDxEnableBase {
public:
    /// Share in the hook: every timer has one.
    class Use {
    public:
        Use();
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;
    };

    /// The hook; null while there is no timer.
    [[nodiscard]] static KzDxCmdLineHook* instance() { return instance_ ? &*instance_ : nullptr; }

    /// Removes the filter of a hook that has ended. The host may refuse; called again at unload.
    static void removeLeftFilter() noexcept;

    KzDxCmdLineHook() = default;
    /// Leaves a registered filter to `removeLeftFilter`.
    ~KzDxCmdLineHook() override;

    /// Registers or removes the filter. `filterRefused` when the host refuses, with nothing changed.
    Orvo::ErrorStatus setEnabled(bool enable) override;

private:
    static std::optional<KzDxCmdLineHook> instance_;
    static std::uint32_t useCount_;
    static bool isFilterLeft_; ///< a hook ended while its filter was registered
};
