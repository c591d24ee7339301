#pragma once

#include "core/boundary.h"

#include <utility>

/// Scope guard: undoes a half-finished operation unless dismissed.
///
/// Memory may run out at any step, and a caller that is told of a failure must find things as they were.
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

    /// The operation is complete: nothing is undone.
    void dismiss() noexcept { isDismissed_ = true; }

private:
    Undo undo_;
    bool isDismissed_ = false;
};
