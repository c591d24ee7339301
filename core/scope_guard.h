#pragma once

#include "core/boundary.h"

#include <utility>

/// Scope guard: undoes a half-finished operation unless dismissed.
///
/// Memory may run out at any step, and an operation that fails must have no effect.
///
///     KzDxScopeGuard undo([&] { targets.erase(target); });
///     registerSomewhere();   // may throw
///     undo.dismiss();
template <class Undo>
class KzDxScopeGuard {
public:
    explicit KzDxScopeGuard(Undo undo) : undo_(std::move(undo)) {}
    KzDxScopeGuard(const KzDxScopeGuard&) = delete;
    KzDxScopeGuard& operator=(const KzDxScopeGuard&) = delete;
    ~KzDxScopeGuard() {
        if (!isDismissed_) kzdxAtBoundary(undo_);
    }

    /// Marks the operation as complete, so that it is not undone.
    void dismiss() noexcept { isDismissed_ = true; }

private:
    Undo undo_;
    bool isDismissed_ = false;
};
