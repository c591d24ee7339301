#pragma once

#include "core/call_set.h"
#include "core/enable_base.h"

/// Base of objects that can be switched on and off and that notify targets: receivers or plain functions.
///
/// Targets are borrowed, and each is registered once. The derived class decides how they are walked.
/// Destroying a notifier notifies no target.
template <class T>
class KzDxNotifierBase : public KzDxEnableBase {
public:
    /// Adds a target, unless it is registered already. `missingCollaborator` for null.
    virtual Orvo::ErrorStatus attach(T target) {
        if (target == nullptr) return Orvo::missingCollaborator;
        targets_.insert(target);
        return Orvo::ok;
    }

    /// Removes a target; has no effect if it is not registered.
    virtual void detach(T target) { targets_.erase(target); }

protected:
    [[nodiscard]] KzDxCallSet<T>& targets() { return targets_; }

private:
    KzDxCallSet<T> targets_;
};
