#pragma once

#include "headless/faults.h"

#include <cstddef>

namespace Headless {

/// Picks the n-th of a series of events, alone or with all that follow it.
class FaultCountdown {
public:
    /// `number` 1 is the next event.
    void begin(std::size_t number, FaultSpan span) {
        left_ = number;
        struck_ = 0;
        span_ = span;
    }

    /// Picks no more. How many events have been picked since `begin`.
    std::size_t end() {
        left_ = 0;
        return struck_;
    }

    [[nodiscard]] bool isRunning() const { return left_ != 0; }

    /// To be asked at each event: whether it is picked.
    [[nodiscard]] bool strikes() {
        if (left_ == 0) return false;
        if (left_ > 1) {
            --left_;
            return false;
        }
        if (span_ == FaultSpan::once) left_ = 0;
        ++struck_;
        return true;
    }

private:
    std::size_t left_ = 0; // until the picked one, which is 1; 0 when there is none
    std::size_t struck_ = 0;
    FaultSpan span_ = FaultSpan::once;
};

} // namespace Headless
