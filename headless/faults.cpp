#include "headless/faults.h"

#include <algorithm>
#include <array>
#include <bitset>

namespace Headless {

namespace {

FaultCountdown countdown;
std::optional<HostCall> countedKind; // empty: all kinds
Orvo::ErrorStatus failure = Orvo::heldOpenForWrite;
std::bitset<hostCallKinds> refused;

std::array<std::optional<HostCall>, 8> recentCalls;
std::array<std::optional<HostCall>, 8> upToFault;

} // namespace

void failHostCall(std::optional<HostCall> kind, std::size_t callNumber, FaultSpan span,
                  Orvo::ErrorStatus status) {
    countdown.begin(callNumber, span);
    countedKind = kind;
    failure = status;
}

std::size_t endFaults() {
    return countdown.end();
}

std::span<const std::optional<HostCall>> callsUpToFault() {
    return upToFault;
}

void refuse(HostCall kind, bool isRefused) {
    refused[static_cast<std::size_t>(kind)] = isRefused;
}

bool shouldFail(HostCall kind) {
    if (refused[static_cast<std::size_t>(kind)]) return true;
    std::shift_left(recentCalls.begin(), recentCalls.end(), 1);
    recentCalls.back() = kind;
    if ((countedKind.has_value() && *countedKind != kind) || !countdown.shouldFail()) return false;
    upToFault = recentCalls;
    return true;
}

Orvo::ErrorStatus faultStatus() {
    return failure;
}

void resetFaults() {
    endFaults();
    refused.reset();
}

} // namespace Headless
