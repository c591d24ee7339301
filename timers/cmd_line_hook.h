#pragma once

#include "core/enable_base.h"

#include <cstdint>
#include <optional>

/// Registers the idle-check filter with the host's message loop while it is switched on.
///
/// One instance exists while timers exist: the first timer creates it, switched off, and the last timer
/// destroys it. Only its destruction switches it off. Does not allocate.
class KzDxCmdLineHook : public KzDxEnableBase {
public:
    /// Counted reference to the hook: every timer has one.
    class Ref {
    public:
        Ref();
        ~Ref();
        Ref(const Ref&) = delete;
        Ref& operator=(const Ref&) = delete;
    };

    /// The hook; null while there is no timer.
    [[nodiscard]] static KzDxCmdLineHook* instance() { return instance_ ? &*instance_ : nullptr; }

    /// Removes the filter of a hook that was destroyed. The host call may fail; it is retried at unload.
    static void removeOrphanedFilter() noexcept;

    KzDxCmdLineHook() = default;
    /// A registered filter is removed by `removeOrphanedFilter`.
    ~KzDxCmdLineHook() override;

    /// Registers or removes the filter. `filterRefused`, without effect, if the host call fails.
    Orvo::ErrorStatus setEnabled(bool enable) override;

private:
    static std::optional<KzDxCmdLineHook> instance_;
    static std::uint32_t refCount_;
    static bool isFilterOrphaned_; ///< a hook was destroyed while its filter was registered
};
