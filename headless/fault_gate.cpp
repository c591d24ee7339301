#include "headless/fault_gate.h"

namespace Headless {

void FaultGate::ask(std::size_t callNumber, FaultSpan newSpan, Orvo::ErrorStatus status) {
    callsLeft = callNumber;
    failed = 0;
    span = newSpan;
    failure = status;
}

std::size_t FaultGate::end() {
    callsLeft = 0;
    return failed;
}

bool FaultGate::count() {
    if (callsLeft > 1) {
        --callsLeft;
        return false;
    }
    if (span == FaultSpan::once) callsLeft = 0;
    ++failed;
    return true;
}

void failHostCall(std::size_t callNumber, FaultSpan span, Orvo::ErrorStatus status) {
    FaultGate::ask(callNumber, span, status);
}

std::size_t endFaults() {
    return FaultGate::end();
}

} // namespace Headless
