#pragma once

#include <utility>

/// Runs `work` at a boundary of the library, which no exception may cross: what the host or a client calls
/// here, and what is called there. When memory runs out inside, the caller gets `failure`.
template <class Result, class Work>
Result kzdxAtBoundary(Result failure, Work&& work) noexcept {
    try {
        return std::forward<Work>(work)();
    } catch (...) {
        return failure;
    }
}

/// The same for work without a result, a client's callback for example: one that throws, against the rules,
/// does not keep the others from being called.
template <class Work>
void kzdxAtBoundary(Work&& work) noexcept {
    try {
        std::forward<Work>(work)();
    } catch (...) {
        return;
    }
}
