#include "headless/faults.h"

#include <bitset>

namespace Headless {

namespace {

FaultCountdown countdown;
std::optional<HostCall> countedKind; // nothing: every kind
Orvo::ErrorStatus failure = Orvo::heldOpenForWrite;
std::bitset<hostCallKinds> refused;

} // namespace

void failHostCall(std::optional<HostCall> kind, std::size_t callNumber, FaultSpan span,
                  Orvo::ErrorStatus status) {
    countdown.begin(callNumber, span);
    countedKind = kind;
    failure = status;
}

void failHostCall(std::size_t callNumber, FaultSpan span, Orvo::ErrorStatus status) {
    failHostCall(std::nullopt, callNumber, span, status);
}

std::size_t endFaults() {
    return countdown.end();
}

void refuse(HostCall kind, bool isRefused) {
    refused[static_cast<std::size_t>(kind)] = isRefused;
}

bool shouldFail(HostCall kind) {
    if (refused[static_cast<std::size_t>(kind)]) return true;
    return (!countedKind.has_value() || *countedKind == kind) && countdown.shouldFail();
}

Orvo::ErrorStatus faultStatus() {
    return failure;
}

void resetFaults() {
    endFaults();
    refused.reset();
}

} // namespace Headless
