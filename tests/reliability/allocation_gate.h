#pragma once

#include "headless/faults.h"

#include <cstddef>

/// All allocations of the process, by `new` and by `realloc`, refused on demand. A program that
/// is linked with allocation_gate.cpp has the global functions replaced.
namespace AllocationGate {

/// Has the n-th of the following allocations refused, `number` 1 being the next.
void refuse(std::size_t number, Headless::FaultSpan span);

/// Ends that. How many allocations have been refused.
std::size_t end();

/// The bytes that `new` has given out and `delete` has not got back.
[[nodiscard]] std::size_t liveBytes();

} // namespace AllocationGate
