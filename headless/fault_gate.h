#pragma once

#include "headless/faults.h"

#include <optional>

namespace Headless {

/// Decides whether a host call fails on demand. One comparison while no fault is asked for.
class FaultGate {
public:
    [[nodiscard]] static bool strikes(HostCall kind) { return callsLeft != 0 && count(kind); }
    /// The status that failing calls give.
    [[nodiscard]] static Orvo::ErrorStatus status() { return failure; }

    static void ask(std::optional<HostCall> kind, std::size_t callNumber, FaultSpan span,
                    Orvo::ErrorStatus status);
    static std::size_t end();

private:
    static bool count(HostCall kind);

    static inline std::size_t callsLeft = 0; ///< until the failing one, which is 1; 0 when none is asked for
    static inline std::optional<HostCall> counted; ///< nothing: every kind
    static inline std::size_t failed = 0;
    static inline FaultSpan span = FaultSpan::once;
    static inline Orvo::ErrorStatus failure = Orvo::ok;
};

} // namespace Headless
