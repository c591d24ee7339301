#include "headless/faults.h"

#include <algorithm>
#include <array>
#include <bitset>

namespace Headless {

namespace {

FaultCountdown countdown;
std::optional<HostCall> countedKind; // nothing: every kind
Orvo::ErrorStatus failure = Orvo::heldOpenForWrite;
std::bitset<hostCallKinds> refused;

/// The last calls, written in turn.
struct RecentCalls {
    std::array<HostCall, 8> kinds;
    std::size_t count = 0;
};
RecentCalls recent;
RecentCalls recentAtFault;

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

std::vector<HostCall> callsUpToFault() {
    const auto& [kinds, count] = recentAtFault;
    std::vector<HostCall> calls;
    for (std::size_t at = count - std::min(count, kinds.size()); at < count; ++at)
        calls.push_back(kinds[at % kinds.size()]);
    return calls;
}

void refuse(HostCall kind, bool isRefused) {
    refused[static_cast<std::size_t>(kind)] = isRefused;
}

bool shouldFail(HostCall kind) {
    if (refused[static_cast<std::size_t>(kind)]) return true;
    recent.kinds[recent.count++ % recent.kinds.size()] = kind;
    if ((countedKind.has_value() && *countedKind != kind) || !countdown.shouldFail()) return false;
    recentAtFault = recent;
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
