#pragma once

#include "core/call_set.h"
#include "core/enable_base.h"

/// Something that can be switched on and off and that notifies targets: receivers or plain functions.
///
/// Targets are borrowed; each is there once. How they are walked is the derived class's business. Destroying
/// a notifier tells no target.
template <class T>
class KzDxNotifierBase : public KzDxEnableBase {
public:
    /// Adds a target; one that is there already stays there once. `missingCollaborator` for null.
    virtual Orvo::ErrorStatus attach(T target) {
        if (target == nullptr) return Orvo::missingCollaborator;
        targets_.insert(target);
        return Orvo::ok;
    }

    /// Removes a target; one that is not there is no error.
    virtual void detach(T target) { targets_.erase(target); }

protected:
    [[nodiscard]] KzDxCallSet<T>& targets() { return targets_; }

private:
    KzDxCallSet<T> targets_;
};
