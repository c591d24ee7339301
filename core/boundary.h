#pragma once

#include <utility>

/// Runs `work` at the module boundary, which no exception may cross: in functions that the host or a client
/// calls, and around calls of clients. If memory runs out, returns `failure`.
template <class Result, class Work>
Result kzdxAtBoundary(Result failure, Work&& work) noexcept {
    try {
        return std::forward<Work>(work)();
    } catch (...) {
        return failure;
    }
}

/// The same for work without a result, for example a client's callback: if it throws, which is not allowed,
/// the other callbacks are still called.
template <class Work>
void kzdxAtBoundary(Work&& work) noexcept {
    try {
        std::forward<Work>(work)();
    } catch (...) {
        return;
    }
}
