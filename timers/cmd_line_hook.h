#pragma once

#include "frame/departure.h"
#include "frame/enable_base.h"

#include <cstdint>

/// Registers the idle-check filter with the host's message loop while it is switched on. One exists while
/// there are timers; one that the host does not let go stays beside it until it does.
class KzDxCmdLineHook : public KzDxEnableBase {
public:
    /// Destroys a hook, now or as soon as the host has removed its filter. Null is no hook.
    static void dispose(KzDxCmdLineHook* hook) noexcept;

    KzDxCmdLineHook() = default;
    /// Removes the filter if it is registered.
    ~KzDxCmdLineHook() override;

    /// Registers or removes the filter. `filterRefused` when the host refuses, with nothing changed.
    Orvo::ErrorStatus setEnabled(bool enable) override;

private:
    friend class KzDxDeparture;

    [[nodiscard]] bool leaveHost() noexcept;
    [[nodiscard]] static bool registerFilter();
    [[nodiscard]] static bool removeFilter();

    /// The hooks that need the filter: the host has it once for all.
    static inline std::uint32_t enabledHooks_ = 0;

    KzDxDeparture departure_;
};
