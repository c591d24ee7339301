#pragma once

#include "headless/fault_countdown.h"

#include <optional>

namespace Headless {

/// Decides whether a host call fails on demand. One comparison while no fault is asked for.
class FaultGate {
public:
    [[nodiscard]] static bool strikes(HostCall kind) {
        return countdown.isRunning() && counts(kind) && countdown.strikes();
    }
    /// The status that failing calls give.
    [[nodiscard]] static Orvo::ErrorStatus status() { return failure; }

    static void ask(std::optional<HostCall> kind, std::size_t callNumber, FaultSpan span,
                    Orvo::ErrorStatus status);
    static std::size_t end();

private:
    [[nodiscard]] static bool counts(HostCall kind) { return !counted.has_value() || *counted == kind; }

    static inline FaultCountdown countdown;
    static inline std::optional<HostCall> counted; ///< nothing: every kind
    static inline Orvo::ErrorStatus failure = Orvo::ok;
};

} // namespace Headless
