#pragma once

#include "frame/boundary.h"

#include <utility>

/// Takes back what has been done so far when the rest does not come about: memory may run out at any step,
/// and a caller that is told of a failure must find things as they were.
///
///     KzDxRollback undo([&] { targets.erase(target); });
///     registerSomewhere();   // may throw
///     undo.keep();
template <class Undo>
class KzDxRollback {
public:
    explicit KzDxRollback(Undo undo) : undo_(std::move(undo)) {}
    KzDxRollback(const KzDxRollback&) = delete;
    KzDxRollback& operator=(const KzDxRollback&) = delete;
    ~KzDxRollback() {
        if (!isKept_) kzdxAtBoundary(undo_);
    }

    /// All is done: nothing is taken back.
    void keep() noexcept { isKept_ = true; }

private:
    Undo undo_;
    bool isKept_ = false;
};
