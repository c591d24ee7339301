#include "headless/fault_gate.h"

namespace Headless {

/// A new demand replaces the one before, and its count begins anew.
void FaultGate::ask(std::optional<HostCall> kind, std::size_t callNumber, FaultSpan span,
                    Orvo::ErrorStatus status) {
    countdown.begin(callNumber, span);
    counted = kind;
    failure = status;
}

std::size_t FaultGate::end() {
    return countdown.end();
}

void failHostCall(std::size_t callNumber, FaultSpan span, Orvo::ErrorStatus status) {
    // No kind stands for all kinds.
    FaultGate::ask(std::nullopt, callNumber, span, status);
}

void failHostCall(HostCall kind, std::size_t callNumber, FaultSpan span, Orvo::ErrorStatus status) {
    FaultGate::ask(kind, callNumber, span, status);
}

std::size_t endFaults() {
    return FaultGate::end();
}

} // namespace Headless
