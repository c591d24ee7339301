#include "headless/faults.h"

#include <bitset>
#include <optional>

namespace Headless {

namespace {

FaultCountdown countdown;
std::optional<HostCall> countedKind; // nothing: every kind
Orvo::ErrorStatus failure = Orvo::heldOpenForWrite;
std::bitset<hostCallKinds> refused;

void fail(std::optional<HostCall> kind, std::size_t callNumber, FaultSpan span, Orvo::ErrorStatus status) {
    countdown.begin(callNumber, span);
    countedKind = kind;
    failure = status;
}

} // namespace

void failHostCall(std::size_t callNumber, FaultSpan span, Orvo::ErrorStatus status) {
    fail(std::nullopt, callNumber, span, status);
}

void failHostCall(HostCall kind, std::size_t callNumber, FaultSpan span, Orvo::ErrorStatus status) {
    fail(kind, callNumber, span, status);
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
