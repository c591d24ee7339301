#pragma once

#include "benchmarks/comparison.h"

#include <cstddef>
#include <memory>

/// Everything that can be measured. Each function makes its data, of the size given, and what is measured on
/// them; docs/performance.md says what is compared with what.
namespace Bench {

using Made = std::unique_ptr<Comparison>;

// update_comparisons.cpp
Made updateOverFloor(std::size_t references);
Made buildOverFloor(std::size_t references);
Made enableOverFloor(std::size_t references);
Made editOverFloor(std::size_t references);
Made attributeOverTouched(std::size_t references);
Made attributeFlat(std::size_t references);
Made attachOverFloor(std::size_t references);
Made updatePerReference(std::size_t references);
Made attachedOverOwn(std::size_t references);
Made enhancedOverPlain(std::size_t references);
Made memoryPerReference(std::size_t references);

// nesting_comparisons.cpp
Made propagatePerEntry(std::size_t references);
Made nestedOverSearch(std::size_t references);
Made nestedAfterEdit(std::size_t references);

// idle_comparisons.cpp
Made filterOverCall(std::size_t size);
Made idleCheckOverTicks(std::size_t timers);

// tracing_comparison.cpp
Made untracedOverEdit(std::size_t size);

// template_comparisons.cpp
Made templateOverStrings(std::size_t megabytes);
Made templatePerName(std::size_t names);
Made collisionsOverNames(std::size_t names);

/// The size that a measurement "per unit" is compared with.
[[nodiscard]] constexpr std::size_t smallSizeFor(std::size_t size) {
    return size / 100;
}

} // namespace Bench
