#include "headless/fault_gate.h"

namespace Headless {

void FaultGate::ask(std::optional<HostCall> kind, std::size_t callNumber, FaultSpan newSpan,
                    Orvo::ErrorStatus status) {
    counted = kind;
    callsLeft = callNumber;
    failed = 0;
    span = newSpan;
    failure = status;
}

std::size_t FaultGate::end() {
    callsLeft = 0;
    return failed;
}

bool FaultGate::count(HostCall kind) {
    if (counted.has_value() && *counted != kind) return false;
    if (callsLeft > 1) {
        --callsLeft;
        return false;
    }
    if (span == FaultSpan::once) callsLeft = 0;
    ++failed;
    return true;
}

void failHostCall(std::size_t callNumber, FaultSpan span, Orvo::ErrorStatus status) {
    FaultGate::ask(std::nullopt, callNumber, span, status);
}

void failHostCall(HostCall kind, std::size_t callNumber, FaultSpan span, Orvo::ErrorStatus status) {
    FaultGate::ask(kind, callNumber, span, status);
}

std::size_t endFaults() {
    return FaultGate::end();
}

} // namespace Headless
